#include "velsqllib/KjLoop.h"

namespace {

/// After this many steps the loop looks at its timers, even if messages keep coming.
constexpr kj::uint MostStepsBetweenLooks = 1000;

} // namespace

KjLoop::KjLoop()
    : m_Context(kj::setupAsyncIo())
{
    m_Context.waitScope.setBusyPollInterval(MostStepsBetweenLooks);
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
