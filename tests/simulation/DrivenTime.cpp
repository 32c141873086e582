#include "tests/simulation/DrivenTime.h"

#include "tests/simulation/DrivenThreads.h"

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

bool s_IsDriven = false;
qint64 s_Begin = 0; // of the time that only goes on
qint64 s_Steady = 0;
qint64 s_Wall = 0;
qint64 s_Slept = 0;
Random s_Random(0);
quint64 s_UsualLooks = DrivenTime::Usual;

void GoOn(qint64 time)
{
    s_Steady += time;
    s_Wall += time;
}

void Look()
{
    GoOn(1 + static_cast<qint64>(s_Random.Below(s_Random.OneIn(s_UsualLooks) ? LongestLook : UsualLook)));
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

DrivenTime::Duration ToDuration(const timespec& time)
{
    return DrivenTime::Duration(time.tv_sec * NanoSecond + time.tv_nsec);
}

constexpr auto Never = DrivenTime::Duration::max();

/// When a time is over that the system takes as for ever if it is below 0.
DrivenTime::Duration After(int milliseconds)
{
    return milliseconds < 0 ? Never : DrivenTime::Passed() + std::chrono::milliseconds(milliseconds);
}

} // namespace

void DrivenTime::Begin(qint64 wall, quint64 seed)
{
    s_Random = Random(seed);
    s_UsualLooks = Usual;
    s_Steady = s_Begin = CounterFull - 10 * NanoSecond;
    s_Wall = wall * NanoSecond;
    s_Slept = 0;
    s_IsDriven = true;
    DrivenThreads::Begin();
}

void DrivenTime::End()
{
    DrivenThreads::End();
    s_IsDriven = false;
}

void DrivenTime::SetPace(quint64 usualLooks)
{
    s_UsualLooks = usualLooks;
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

Random& DrivenTime::Chance()
{
    return s_Random;
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
    if (s_IsDriven) {
        const pollfd anything{epoll, POLLIN, 0};
        DrivenThreads::Wait({&anything, 1}, After(milliseconds));
        Look();
        milliseconds = 0;
    }
    return static_cast<int>(syscall(SYS_epoll_pwait, epoll, events, most, milliseconds, nullptr, 8));
}

[[gnu::visibility("default")]] int poll(pollfd* sockets, nfds_t count, int milliseconds)
{
    if (s_IsDriven && milliseconds != 0) DrivenThreads::Wait({sockets, count}, After(milliseconds));
    const int longest = s_IsDriven ? 0 : milliseconds;
    const timespec time{longest / 1000, longest % 1000 * 1'000'000};
    return ppoll(sockets, count, longest < 0 ? nullptr : &time, nullptr);
}

[[gnu::visibility("default")]] int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left)
{
    if (!s_IsDriven) return static_cast<int>(-syscall(SYS_clock_nanosleep, clock, flags, time, left));
    timespec now{};
    if (flags & TIMER_ABSTIME) clock_gettime(clock, &now);
    DrivenThreads::Wait({}, DrivenTime::Passed() + ToDuration(*time) - ToDuration(now));
    return 0;
}

[[gnu::visibility("default")]] int nanosleep(const timespec* time, timespec* left)
{
    return clock_nanosleep(CLOCK_MONOTONIC, 0, time, left);
}

[[gnu::visibility("default")]] int usleep(useconds_t time)
{
    const timespec parts{time / 1'000'000, static_cast<long>(time % 1'000'000) * 1000};
    return nanosleep(&parts, nullptr);
}

} // extern "C"
