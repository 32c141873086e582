#include "trend/core/IntervalSamples.h"

#include <cmath>

namespace {

void AppendSamples(const IntervalFigures& interval, Micros length, std::vector<Sample>& samples)
{
    const auto at = [&](int part) { return interval.Begin + length / 4 * part; };
    if (std::isnan(interval.Smallest)) {
        if (interval.HasGap) samples.push_back({interval.Begin, interval.Smallest});
        return;
    }
    samples.push_back({at(0), interval.First});
    if (interval.Smallest == interval.Largest) return;
    // The nearer one first, so that the line does not run back and forth more than it must.
    const bool risesFirst = interval.Largest - interval.First < interval.First - interval.Smallest;
    samples.push_back({at(1), risesFirst ? interval.Largest : interval.Smallest});
    samples.push_back({at(2), risesFirst ? interval.Smallest : interval.Largest});
    samples.push_back({at(3), interval.Last});
}

} // namespace

std::vector<Sample> SamplesOf(std::span<const IntervalFigures> intervals, Micros end)
{
    std::vector<Sample> samples;
    samples.reserve(intervals.size() * 4);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        const Micros next = i + 1 < intervals.size() ? intervals[i + 1].Begin : end;
        AppendSamples(intervals[i], next - intervals[i].Begin, samples);
    }
    return samples;
}
