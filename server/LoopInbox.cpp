#include "server/LoopInbox.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "velsqllib/WireText.h"

LoopInbox::LoopInbox()
    : m_Tasks(*this)
{
    m_Tasks.add(Serve());
}

void LoopInbox::Post(std::function<void()> action)
{
    const std::lock_guard lock(m_Guard);
    m_Waiting.push_back(std::move(action));
    if (!m_Wake) return;
    m_Wake->fulfill();
    m_Wake = nullptr;
}

/// Does what waits, then waits for more. What one action throws harms no other.
kj::Promise<void> LoopInbox::Serve()
{
    std::vector<std::function<void()>> actions;
    kj::Promise<void> more = kj::READY_NOW;
    {
        const std::lock_guard lock(m_Guard);
        actions.swap(m_Waiting);
        if (actions.empty()) {
            auto wake = kj::newPromiseAndCrossThreadFulfiller<void>();
            m_Wake = kj::mv(wake.fulfiller);
            more = kj::mv(wake.promise);
        }
    }
    for (const auto& action : actions) {
        try {
            action();
        } catch (...) {
            Log(LogLevel::Error, QStringLiteral("A source failed: %1").arg(CurrentErrorDescription()));
        }
    }
    return more.then([this] { return kj::evalLast([this] { return Serve(); }); });
}

void LoopInbox::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Error, QStringLiteral("The server no longer hears of its sources: %1").arg(DescriptionOf(exception)));
}
