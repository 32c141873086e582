#pragma once

#include "core/automation/ServerObjects.h"

/// What is done in each cycle of a performance check.
struct CheckTask
{
    ItemRef Item;
    bool Writes = false;
    bool Reads = true;
    /// What is written.
    Variant Value = {};
    /// Whether what was read must be what was written; only where both are done.
    bool ChecksData = false;
    bool IgnoresErrors = false;
    bool OutputsValue = false;
};

/// How long the cycles are repeated: for a time, a number of times, or until they are stopped.
struct CheckPattern
{
    enum class Kind
    {
        Timed,
        Counted,
        Endless
    };

    Kind Repeats = Kind::Counted;
    /// Milliseconds, of Timed.
    qint32 Duration = 0;
    /// Cycles, of Counted.
    qint32 Count = 1;
};

enum class CheckResult
{
    Success = 0,
    WriteFailed = 1,
    ReadFailed = 2,
    DataDiffers = 3
};

/// Milliseconds between two readings of the tick counter. Intended: across its wrap the result is one short.
quint32 ElapsedTicks(quint32 start, quint32 end);

/// Runs the cycles from the tick `start` on, and lets events run once in each. Ends early when `stop` becomes true, at
/// the first failure that is not ignored, and at the first difference. Never throws.
CheckResult RunPerformanceLoop(const CheckTask& task, const CheckPattern& pattern, quint32 start, const bool& stop);
