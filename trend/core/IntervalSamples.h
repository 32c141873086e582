#pragma once

#include "trend/core/Series.h"

/// What a history says of a pen between two moments. Numbers are NaN when there are none.
struct IntervalFigures
{
    Micros Begin = 0;
    double First = 0;
    double Smallest = 0;
    double Largest = 0;
    double Last = 0;
    bool HasGap = false; ///< not all that was recorded was good
};

/// Samples that look like what was recorded, in columns at least as wide as the intervals: of each interval at most four
/// numbers, and a gap at its end when nothing else is known. `end` is that of the last interval. Intervals without any
/// value leave the value before as it is.
std::vector<Sample> SamplesOf(std::span<const IntervalFigures> intervals, Micros end);
