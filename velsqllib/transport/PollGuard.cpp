#include "velsqllib/transport/PollGuard.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace {

/// A switch between two processes on one core, and a small call on the other side.
constexpr auto Switch = 30us;
/// A longer wait does not belong to a row of calls.
constexpr auto Rest = 400us;
/// So many slow waits make a row.
constexpr int LeastRow = 4;
/// In waits. So seldom is polling tried where it never pays.
constexpr int LeastPenalty = 16;
constexpr int MostPenalty = 4096;
/// After so many polls in a row that were worth while, the penalty is forgotten.
constexpr int Forgiven = 256;

} // namespace

bool PollGuard::MayPoll()
{
    if (m_WaitsPutOff == 0) return m_SlowInARow >= LeastRow;
    --m_WaitsPutOff;
    return false;
}

void PollGuard::Polled(Duration time)
{
    if (time <= Longest) {
        if (++m_GoodInARow == Forgiven) m_Penalty = 0;
        return;
    }
    m_GoodInARow = m_SlowInARow = 0;
    m_WaitsPutOff = m_Penalty = std::clamp(2 * m_Penalty, LeastPenalty, MostPenalty);
}

void PollGuard::Slept(Duration time)
{
    m_SlowInARow = time < Switch || time > Rest ? 0 : m_SlowInARow + 1;
}
