#include "tests/simulation/DrivenTime.h"

#include "tests/simulation/Random.h"

#include <cstdio>
#include <cstdlib>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <ctime>

namespace {

constexpr qint64 NanoSecond = 1'000'000'000;
constexpr qint64 CounterFull = (qint64{1} << 32) * 1'000'000;
// In nanoseconds. Now and then the machine has something else to do, so that a turn may end anywhere.
constexpr quint64 UsualLook = 2000;
constexpr quint64 LongestLook = 4'000'000;
constexpr quint64 UsualLooks = 100;

bool s_IsDriven = false;
qint64 s_Begin = 0; // of the time that only goes on
qint64 s_Steady = 0;
qint64 s_Wall = 0;
qint64 s_Slept = 0;
Random s_Random(0);

void GoOn(qint64 time)
{
    s_Steady += time;
    s_Wall += time;
}

void Look()
{
    GoOn(1 + static_cast<qint64>(s_Random.Below(s_Random.OneIn(UsualLooks) ? LongestLook : UsualLook)));
}

/// Null for clocks of another kind, such as those that count work.
const qint64* DrivenBy(clockid_t clock)
{
    switch (clock) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE: return &s_Wall;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_BOOTTIME: return &s_Steady;
    default: return nullptr;
    }
}

timespec ToTimespec(qint64 time)
{
    return {static_cast<time_t>(time / NanoSecond), static_cast<long>(time % NanoSecond)};
}

} // namespace

void DrivenTime::Begin(qint64 wall, quint64 seed)
{
    s_Random = Random(seed);
    s_Steady = s_Begin = CounterFull - 10 * NanoSecond;
    s_Wall = wall * NanoSecond;
    s_Slept = 0;
    s_IsDriven = true;
}

void DrivenTime::End()
{
    s_IsDriven = false;
}

void DrivenTime::Pass(Duration time)
{
    GoOn(time.count());
}

void DrivenTime::Sleep(Duration time)
{
    s_Wall += time.count();
    s_Slept += time.count();
}

void DrivenTime::SetClock(Duration change)
{
    s_Wall += change.count();
}

DrivenTime::Duration DrivenTime::Passed()
{
    return Duration(s_Steady - s_Begin);
}

// What the program defines goes before what libraries define, for all libraries that it uses.
extern "C" {

[[gnu::visibility("default")]] int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const qint64* const driven = DrivenBy(clock);
    if (!s_IsDriven || !driven) return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    Look();
    *time = ToTimespec(*driven + (clock == CLOCK_BOOTTIME ? s_Slept : 0));
    return 0;
}

[[gnu::visibility("default")]] int gettimeofday(timeval* time, void*) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

[[gnu::visibility("default")]] time_t time(time_t* out) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (out) *out = now.tv_sec;
    return now.tv_sec;
}

[[gnu::visibility("default")]] int epoll_wait(int epoll, epoll_event* events, int most, int milliseconds)
{
    const int slept = s_IsDriven ? 0 : milliseconds;
    const auto count = static_cast<int>(syscall(SYS_epoll_pwait, epoll, events, most, slept, nullptr, 8));
    if (!s_IsDriven) return count;
    if (count != 0 || milliseconds == 0) {
        Look();
    } else if (milliseconds < 0) {
        fputs("The event loop sleeps for ever: nothing is due and nobody could wake it up.\n", stderr);
        abort();
    } else {
        GoOn(qint64{milliseconds} * 1'000'000);
    }
    return count;
}

} // extern "C"
