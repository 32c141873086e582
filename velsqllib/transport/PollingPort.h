#pragma once

#include "velsqllib/transport/PollGuard.h"

#include <kj/async-unix.h>

#include <functional>

/// Where a KJ loop looks at its sockets: before it sleeps it sends what is collected, and polls a little.
class PollingPort final : public kj::EventPort
{
public:
    /// `send` sends what is collected; `hasWork` tells whether the loop has something to do.
    PollingPort(kj::UnixEventPort& port, std::function<void()> send, std::function<bool()> hasWork)
        : m_Port(port)
        , m_Send(std::move(send))
        , m_HasWork(std::move(hasWork))
    {
    }

    bool wait() override;
    bool poll() override;
    void wake() const override { m_Port.wake(); }

private:
    using Clock = std::chrono::steady_clock;

    void Send();
    bool Sleep();

    kj::UnixEventPort& m_Port;
    const std::function<void()> m_Send;
    const std::function<bool()> m_HasWork;
    PollGuard m_Guard;
    Clock::time_point m_Sent; ///< when the loop last sent although it had something to do
};
