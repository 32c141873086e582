#pragma once

#include "server/reading/IntervalSums.h"

/// The intervals of a span, which begin at its start. With blocks the borders between them lie on full blocks.
struct Intervals
{
    Micros From = 0;
    Micros To = 0;
    Micros Length = 1; ///< of each but the last
    Level Borders = Level::Values;

    qint64 Count() const { return (To - From - 1) / Length + 1; }
    /// Where the n-th begins; that of the one behind the last is `To`.
    Micros Border(qint64 number) const;
};

/// The length of a block; 1 for values.
Micros LengthOf(Level level);
Micros RoundDown(Micros time, Level level);
Micros RoundUp(Micros time, Level level);

/// Takes one item's history in the order of time and hands out the sums of each interval as soon as they are known.
class IntervalWalk
{
public:
    using Taker = std::function<bool(const IntervalSums&)>;

    /// Values hold until the next one, at most until `now`.
    IntervalWalk(const Intervals& intervals, Micros now, Taker take);

    /// What held before the first interval began.
    void Hold(const Reading& before) { m_Held = before; }
    /// False when no more is wanted.
    bool Add(const Reading& reading);
    bool Add(const Summary& block, Level level);
    void Finish();

private:
    void Begin();
    bool MoveTo(Micros time);
    void HoldUntil(Micros time);

    const Intervals m_Intervals;
    const Micros m_Now;
    const Taker m_Take;
    qint64 m_Number = 0;
    Micros m_Time; ///< how far time has been counted
    IntervalSums m_Sums;
    std::optional<Reading> m_Held;
    bool m_IsWanted = true;
};
