#pragma once

#include "core/automation/ServerObjects.h"

/// What each cycle of a performance check does.
struct CheckTask
{
    ItemRef Item;
    bool Writes = false;
    bool Reads = true;
    /// The value to write.
    Variant Value = {};
    /// Whether the value read must equal the value written; only when both are done.
    bool ChecksData = false;
    bool IgnoresErrors = false;
    bool OutputsValue = false;
};

/// How long the cycles are repeated: for a time, for a number of cycles, or until stopped.
struct CheckPattern
{
    enum class Kind
    {
        Timed,
        Counted,
        Endless
    };

    Kind Repeats = Kind::Counted;
    /// In milliseconds, for Timed.
    qint32 Duration = 0;
    /// Number of cycles, for Counted.
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

/// Runs the cycles from the tick `start` on and lets events run once in each. Ends early when `stop` becomes true, at
/// the first failure that is not ignored, and at the first difference. Never throws.
CheckResult RunPerformanceLoop(const CheckTask& task, const CheckPattern& pattern, quint32 start, const bool& stop);
