#include "velsqllib/transport/PollingPort.h"

namespace {

/// A loop that always has something to do sends at the first look after this time.
constexpr std::chrono::microseconds SendingInterval{200};

} // namespace

bool PollingPort::poll()
{
    if (!m_HasWork() || Clock::now() - m_Sent > SendingInterval) Send();
    return m_Port.poll();
}

void PollingPort::Send()
{
    m_Send();
    m_Sent = Clock::now();
}

bool PollingPort::wait()
{
    m_Send();
    if (m_HasWork()) return m_Port.poll();
    if (!m_Guard.MayPoll()) return Sleep();
    const auto begin = Clock::now();
    bool isWoken = false;
    bool isOver = false;
    while (!isOver && !isWoken) {
        isWoken = m_Port.poll();
        isOver = m_HasWork() || Clock::now() - begin > PollGuard::Longest;
    }
    m_Guard.Polled(Clock::now() - begin);
    // Whoever polled in vain has nothing to learn from how long he sleeps now.
    return isWoken || m_HasWork() ? isWoken : m_Port.wait();
}

bool PollingPort::Sleep()
{
    const auto begin = Clock::now();
    const bool isWoken = m_Port.wait();
    m_Guard.Slept(Clock::now() - begin);
    return isWoken;
}
