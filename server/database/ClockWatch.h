#pragma once

#include "server/database/ClockTime.h"

#include <QtGlobal>

#include <optional>

/// Whether the clock may decide what is too old: a clock that was set wrong by mistake must not take the history with
/// it. So a day passes after it has jumped by more than an hour, or when recording begins more than a day after the
/// last record.
class ClockWatch
{
public:
    /// What the history itself remembers, for the next server too.
    class Memory
    {
    public:
        /// The second since 1970 until which the clock is not trusted; 0 when there is none.
        virtual qint64 TrustedFrom() = 0;
        virtual void SetTrustedFrom(qint64 second) = 0;
        /// When the last record was made; empty when there is none.
        virtual std::optional<std::chrono::system_clock::time_point> LastRecord() = 0;

    protected:
        ~Memory() = default;
    };

    explicit ClockWatch(ClockTime now = ClockTime::Now())
        : m_Last(now)
    {
    }

    /// When recording begins, before anything is added. Throws what the memory throws, as IsTrusted does.
    static void Begin(Memory& memory, ClockTime now = ClockTime::Now());
    bool IsTrusted(Memory& memory, ClockTime now = ClockTime::Now());

private:
    static void Distrust(Memory& memory, ClockTime now);

    ClockTime m_Last;
};
