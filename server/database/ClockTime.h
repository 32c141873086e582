#pragma once

#include <chrono>

/// What the clock shows, and what has really passed, at one moment: two of them tell how far the clock was set between
/// them. A machine that slept was not set: the time that it slept has passed.
struct ClockTime
{
    static ClockTime Now();

    std::chrono::nanoseconds Passing; ///< since the machine was started
    std::chrono::system_clock::time_point Shown;

    std::chrono::nanoseconds SetSince(const ClockTime& earlier) const
    {
        return (Shown - earlier.Shown) - (Passing - earlier.Passing);
    }
};
