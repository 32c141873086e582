#pragma once

/// How much less processor time a thread gets than those that serve clients, where there is not enough for all, see
/// setpriority(2).
enum class Niceness
{
    Writer = 5,
    InTheBackground = 10
};

/// For the calling thread alone, for good. It also gives up TakeShortTurns.
void LowerPriority(Niceness niceness);

/// The calling thread, and those that it starts, get the processor sooner when they wake up and for a shorter time, but
/// not more of it than others: for who answers others. Linux before 6.12 goes on as it does.
void TakeShortTurns();
