#pragma once

#include <kj/async-io.h>

#include <memory>

/// The KJ event loop of a thread: there can be only one, so all its users share it.
class KjLoop
{
public:
    static std::shared_ptr<KjLoop> OfThisThread();

    KjLoop();

    kj::WaitScope& WaitScope() { return m_Context.waitScope; }
    kj::LowLevelAsyncIoProvider& LowLevel() { return *m_Context.lowLevelProvider; }
    kj::Timer& Timer() { return m_Context.provider->getTimer(); }
    /// Runs what can run without waiting.
    void Poll();

private:
    kj::AsyncIoContext m_Context;
};
