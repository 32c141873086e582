#pragma once

#include "server/sqlitehistory/PartitionWriter.h"

#include <chrono>

/// Whether the clock may decide what is too old: a clock that was set wrong by mistake must not take the history with
/// it. So a day passes after it has jumped by more than an hour, or when recording begins more than a day after the
/// last record. The newest partition remembers that, for the next server too.
class ClockWatch
{
public:
    struct Time
    {
        static Time Now();

        std::chrono::steady_clock::time_point Passing;
        std::chrono::system_clock::time_point Shown;
    };

    explicit ClockWatch(Time now = Time::Now())
        : m_Last(now)
    {
    }

    /// When a partition is opened, before anything is added to it. Throws SqliteError.
    void Begin(PartitionWriter& newest, Time now = Time::Now());
    /// Throws SqliteError.
    bool IsTrusted(PartitionWriter& newest, Time now = Time::Now());

private:
    static void Distrust(PartitionWriter& newest, Time now);

    Time m_Last;
};
