#pragma once

#include "core/automation/Variant.h"

#include <chrono>

using TimeStamp = std::chrono::system_clock::time_point;

/// When something happens in the plant.
struct Moment
{
    TimeStamp Wall;
    /// Time since the server began; never jumps, so that signals continue when the clock is set.
    double Seconds = 0.0;
};

/// Local time of a moment, without fractions of a second.
Date ToLocalDate(TimeStamp time);
/// The microseconds that ToLocalDate cuts off: 0 to 999999.
qint32 MicrosecondsOf(TimeStamp time);
