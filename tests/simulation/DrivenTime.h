#pragma once

#include "tests/simulation/Random.h"

#include <chrono>

/// The time of this process, driven by a campaign instead of by the machine. It goes on by a little whenever somebody
/// looks at a clock, and to the next thing that is due whenever the event loop would sleep: a year of waiting is over
/// in minutes, and a run can be played again exactly. The program itself takes the place of the system's clocks and of
/// epoll_wait, so nothing of the product knows of it. DrivenThreads does the same with threads.
namespace DrivenTime {

using Duration = std::chrono::nanoseconds;

/// From now on. `wall` is what the clock shows first, in seconds since 1970; the 32 bits of a millisecond counter are
/// full ten seconds later. `seed` decides how long looking at a clock takes. The process must have a single thread.
void Begin(qint64 wall, quint64 seed);
/// The machine's own time again; all other threads have ended.
void End();

/// Of so many looks at a clock one comes milliseconds later, because the machine has something else to do.
void SetPace(quint64 usualLooks);
constexpr quint64 Usual = 100;
/// Time passes in which this process does nothing at all.
void Pass(Duration time);
/// The machine sleeps.
void Sleep(Duration time);
/// Somebody sets the clock; no time passes.
void SetClock(Duration change);
/// Since Begin; looking at it takes no time.
Duration Passed();
/// What follows from the seed.
Random& Chance();

} // namespace DrivenTime
