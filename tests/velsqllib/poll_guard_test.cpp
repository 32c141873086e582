#include "velsqllib/transport/PollGuard.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(PollGuard, LetsPollOnlyWhereThatPays)
{
    const struct
    {
        const char* Where;
        std::chrono::microseconds Sleep, Poll; ///< how long a wait would last
        int Least, Most;                       ///< of 5000 waits
    } cases[] = {
        {"both ends on one core", 15us, 500us, 0, 0},
        {"at rest", 100ms, 500us, 0, 0},
        {"idle cores", 90us, 12us, 4990, 4996},
        {"busy cores", 90us, 2000us, 2, 12},
        {"an end that needs longer than polling lasts", 250us, 101us, 2, 12},
    };
    for (const auto& [where, sleep, poll, least, most] : cases) {
        PollGuard guard;
        int polls = 0;
        for (int wait = 0; wait < 5000; ++wait) {
            if (!guard.MayPoll()) guard.Slept(sleep);
            else guard.Polled((++polls, poll));
        }
        EXPECT_GE(polls, least) << where;
        EXPECT_LE(polls, most) << where;
    }
}
