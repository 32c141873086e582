#pragma once

#include "trend/core/Extremes.h"

#include <QString>

#include <vector>

/// A line of a value axis.
struct ValueTick
{
    bool operator==(const ValueTick&) const = default;

    double Value = 0;
    QString Label;
};

/// Where values lie in a picture `height` pixels high, the larger ones further
/// up.
struct ValueScale
{
    /// Shows these extremes with a little room above and below; 0 to 1 when there
    /// are none, and some room around a single value. Values beyond what can be
    /// told apart are left to the edge.
    static ValueScale Around(const Extreme& extreme, double height);

    /// Within a picture's reach also for what lies far outside of it.
    double PixelOf(double value) const;
    double ValueAt(double pixel) const;

    double Bottom = 0;
    double Top = 1;
    double Height = 1;
};

/// Ticks at 1, 2 or 5 times a power of ten, at most `most` and mostly two of
/// them at least, labelled with as many digits as it takes to tell them apart.
std::vector<ValueTick> ValueTicks(const ValueScale& scale, int most);
