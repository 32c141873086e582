#include "server/reading/IntervalWalk.h"

#include <algorithm>
#include <array>
#include <cmath>

Micros LengthOf(Level level)
{
    constexpr std::array<Micros, 4> Lengths = {1, 60 * MicrosASecond, 3600 * MicrosASecond, 86'400 * MicrosASecond};
    return Lengths[static_cast<std::size_t>(level)];
}

Micros RoundDown(Micros time, Level level)
{
    const Micros length = LengthOf(level);
    return time - (time % length + length) % length;
}

Micros RoundUp(Micros time, Level level)
{
    return RoundDown(time + LengthOf(level) - 1, level);
}

Micros Intervals::Border(qint64 number) const
{
    if (number == 0) return From;
    if (number >= Count()) return To;
    return std::min(RoundUp(From + number * Length, Borders), To);
}

IntervalWalk::IntervalWalk(const Intervals& intervals, Micros now, Taker take)
    : m_Intervals(intervals)
    , m_Now(now)
    , m_Take(std::move(take))
    , m_Time(intervals.From)
{
    Begin();
}

bool IntervalWalk::Add(const Reading& reading)
{
    if (!MoveTo(reading.Utc)) return false;
    HoldUntil(reading.Utc);
    m_Sums.Add(reading);
    m_Held = reading;
    return true;
}

bool IntervalWalk::Add(const Summary& block, Level level)
{
    if (!MoveTo(block.Start)) return false;
    m_Sums.Add(block, level);
    return true;
}

void IntervalWalk::Finish()
{
    MoveTo(m_Intervals.To);
}

/// Ends the intervals before `time`.
bool IntervalWalk::MoveTo(Micros time)
{
    while (m_IsWanted && m_Number < m_Intervals.Count() && time >= m_Sums.End) {
        HoldUntil(m_Sums.End);
        // The last one may have been put off to the end.
        if (m_Sums.Start < m_Sums.End) m_IsWanted = m_Take(m_Sums);
        ++m_Number;
        Begin();
    }
    return m_IsWanted;
}

void IntervalWalk::Begin()
{
    m_Sums = {};
    m_Sums.Start = m_Intervals.Border(m_Number);
    m_Sums.End = m_Intervals.Border(m_Number + 1);
}

void IntervalWalk::HoldUntil(Micros time)
{
    const Micros until = std::min(time, m_Now);
    if (until <= m_Time) return;
    if (m_Held) {
        m_Sums.AddState(m_Held->State);
        const double* number = m_Held->Value.GetIf<double>();
        if (number && m_Held->IsGood() && !std::isnan(*number)) m_Sums.AddTime(*number, until - m_Time);
    }
    m_Time = until;
}
