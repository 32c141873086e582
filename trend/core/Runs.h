#pragma once

#include "trend/core/Series.h"

/// A time in which a series holds one value.
struct HeldRun
{
    bool operator==(const HeldRun&) const = default;

    Micros From = 0;
    Micros To = 0;
    double Value = 0;
    bool IsMixed = false; ///< several runs, too short to be told apart
};

/// What the lane of a boolean (or of any value with few states) shows of a span: its runs in order, with nothing where
/// there is a gap. Those that are shorter than `shortest` become one with their neighbours, up to that length, and are
/// mixed: so there never are more of them than `span` has room for.
std::vector<HeldRun> RunsOf(const Series& series, const Span& span, Micros shortest);
