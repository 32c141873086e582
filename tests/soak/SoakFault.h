#pragma once

#include <functional>
#include <utility>

/// A fault: how often it happens compared with others, for how long, and what puts it right if it does not go by
/// itself.
struct SoakFault
{
    const char* Name;
    int Weight;
    std::pair<int, int> PauseMs;
    std::function<void()> Happen;
    /// Runs in a thread of its own, because a call may hold the console meanwhile.
    std::function<void()> Mend = {};
};
