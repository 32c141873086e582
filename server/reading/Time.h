#pragma once

#include "core/automation/Variant.h"

#include <optional>

/// A point in time in microseconds since 1970-01-01 UTC, as the history's item_utc counts them.
using Micros = qint64;

inline constexpr Micros MicrosASecond = 1'000'000;

/// Local dates of points in time that mostly follow each other.
class LocalClock
{
public:
    /// To the microsecond; NULL outside the years that a DATE can say.
    Variant DateOf(Micros utc);

private:
    std::optional<qint64> m_Second;
    qint64 m_Day = 0;
    qint64 m_SecondOfDay = 0;
    bool m_IsSayable = false;
};

/// A point in time as callers write it: a number of microseconds as above, a DATE or a text in local time such as
/// "2024-01-31 12:00:00.5" (the first one of an hour that comes twice), or a text with "Z" or an offset such as "+02:00"
/// behind it. None for EMPTY and NULL. Throws ValueError.
std::optional<Micros> ToMicros(const Variant& value);
