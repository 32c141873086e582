#pragma once

#include <QtGlobal>

/// A point in time in microseconds since 1970-01-01 UTC.
using Micros = qint64;

inline constexpr Micros MicrosASecond = 1'000'000;

/// The time from `From` until before `To`. What a trend shows is at least a
/// millisecond, within the years 100 to 9999.
struct Span
{
    static constexpr Micros Shortest = 1000;
    static constexpr Micros Earliest = -59'011'459'200 * MicrosASecond; ///< the year 100
    static constexpr Micros Latest = 253'402'300'800 * MicrosASecond;   ///< the year 10000

    Micros Length() const { return To - From; }
    bool Holds(Micros time) const { return time >= From && time < To; }
    bool operator==(const Span&) const = default;

    /// As long as before, further on by this part of its length (1: the next
    /// screen; negative: back).
    Span Moved(double part) const;
    /// `factor` times as long; the moment `fixed` stays where it is.
    Span Zoomed(double factor, Micros fixed) const;
    /// As long as before, ending at `end`.
    Span EndingAt(Micros end) const;
    /// The nearest span that can be shown.
    Span Bounded() const;

    Micros From = 0;
    Micros To = Shortest;
};
