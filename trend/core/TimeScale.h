#pragma once

#include "trend/core/Span.h"

#include <QString>

#include <vector>

/// Where moments lie in a picture that shows a span `width` pixels wide.
struct TimeScale
{
    double PixelOf(Micros time) const
    {
        return static_cast<double>(time - Shown.From) / static_cast<double>(Shown.Length()) * Width;
    }
    Micros TimeAt(double pixel) const;

    Span Shown;
    double Width = 1;
};

/// A line of a time axis.
struct TimeTick
{
    bool operator==(const TimeTick&) const = default;

    Micros Time = 0;
    QString Label;
    /// What changes here and is not in the label: the day at midnight, the year
    /// at its beginning; else empty. The first tick says it in any case.
    QString Context;
};

/// Ticks at round local times, at most `most` of them. Where clocks change each
/// hour has its tick: one that comes twice twice, the second time with the
/// zone's name; one that is left out none.
std::vector<TimeTick> TimeTicks(const Span& span, int most);
