#pragma once

#include <chrono>

/// Decides whether a wait begins with polling, from how the last waits went.
///
/// Polling pays where sleeping is slow: who sleeps while a core is idle is woken late, who shares his core with the
/// other end is woken at once. So it is tried only in a row of waits each of which was too long for the one and short
/// enough for the other, and each time that nothing has come it is put off for twice as long as before. Nothing else
/// has to be known of cores and of other programs.
class PollGuard
{
public:
    using Duration = std::chrono::steady_clock::duration;
    /// How long a wait polls.
    static constexpr Duration Longest = std::chrono::microseconds(100);

    /// To be asked before each wait.
    bool MayPoll();
    /// A wait has polled for so long; longer than Longest was in vain, even if something came after all, because
    /// another program has had the core meanwhile.
    void Polled(Duration time);
    /// A wait has slept for so long.
    void Slept(Duration time);

private:
    int m_SlowInARow = 0;
    int m_GoodInARow = 0;
    int m_WaitsPutOff = 0;
    int m_Penalty = 0;
};
