#include "server/worker/Priority.h"

#include <algorithm>
#include <cstdint>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::uint64_t ShortTurn = 300'000; // nanoseconds; the usual turn on two cores is 1,400,000 or longer

/// The first form of the kernel's sched_attr, see sched_setattr(2). Its own header cannot stand beside <sched.h>.
struct Scheduling
{
    std::uint32_t Size = sizeof(Scheduling);
    std::uint32_t Policy = 0;
    std::uint64_t Flags = 0;
    std::int32_t Niceness = 0;
    std::uint32_t Priority = 0;
    std::uint64_t Runtime = 0;
    std::uint64_t Deadline = 0;
    std::uint64_t Period = 0;
};

template <typename Change>
void ChangeOwn(Change change)
{
    Scheduling own;
    if (syscall(SYS_sched_getattr, 0, &own, sizeof(own), 0) != 0 || own.Policy != SCHED_OTHER) return;
    own.Size = sizeof(own);
    change(own);
    syscall(SYS_sched_setattr, 0, &own, 0);
}

} // namespace

void TakeShortTurns()
{
    ChangeOwn([](Scheduling& own) { own.Runtime = ShortTurn; });
}

void TakeUsualTurns()
{
    ChangeOwn([](Scheduling& own) { own.Runtime = 0; });
}

void WorkInTheBackground()
{
    ChangeOwn([](Scheduling& own) {
        own.Niceness = std::max(own.Niceness, 10);
        own.Runtime = 0;
    });
}
