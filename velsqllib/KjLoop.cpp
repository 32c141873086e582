#include "velsqllib/KjLoop.h"

KjLoop::KjLoop()
    : m_Context(kj::setupAsyncIo())
{
}

std::shared_ptr<KjLoop> KjLoop::OfThisThread()
{
    thread_local std::weak_ptr<KjLoop> current;
    auto loop = current.lock();
    if (!loop) {
        loop = std::make_shared<KjLoop>();
        current = loop;
    }
    return loop;
}

void KjLoop::Poll()
{
    m_Context.waitScope.poll();
}
