#pragma once

// All of these are for the calling thread and those that it starts, and leave a thread alone that has a policy of its own.

/// It gets the processor sooner when it wakes up and for a shorter time, but not more of it than others: for who answers
/// others. Linux before 6.12 goes on as it does.
void TakeShortTurns();
/// Again as is usual: for who works for long.
void TakeUsualTurns();
/// Where there is not enough processor time for all, it gets a tenth of what others get, see setpriority(2). For good.
void WorkInTheBackground();
