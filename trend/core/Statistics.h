#pragma once

#include "trend/core/Series.h"

/// Figures about a span of a series, of the time in which there is a value.
/// Nothing when there is none.
struct Statistics
{
    Extreme Values;        ///< as drawn
    Micros Covered = 0;    ///< the time with a value
    double Mean = 0;       ///< each value weighted with its time
    double Spread = 0;     ///< the standard deviation, weighted likewise
    double Integral = 0;   ///< in the unit of the values times seconds
    double Rate = 0;       ///< in the unit of the values a second, from the first to
                           ///< the last moment with a value
    std::size_t Count = 0; ///< values that came, gaps not counted
};

std::optional<Statistics> StatisticsOf(const Series& series, const Span& span, Drawing drawing);

/// The moments in a span at which the series gets from one side of the limit to
/// the other: at most `most` of them. Touching it is no crossing.
std::vector<Micros> CrossingsOf(const Series& series, const Span& span, Drawing drawing, double limit,
                                std::size_t most = 1000);
