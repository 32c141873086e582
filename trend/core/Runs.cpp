#include "trend/core/Runs.h"

#include <algorithm>

namespace {

/// Adds what holds from one value to the next.
void AddRun(std::vector<HeldRun>& runs, const HeldRun& run, Micros shortest)
{
    HeldRun* const last = runs.empty() || runs.back().To != run.From ? nullptr : &runs.back();
    if (last && !last->IsMixed && last->Value == run.Value) {
        last->To = run.To;
        return;
    }
    const bool isLastShort = last && last->To - last->From < shortest;
    if (!isLastShort) {
        runs.push_back(run);
        return;
    }
    // What is longer than a mixed run may be stands by itself again.
    const Micros end = std::min(run.To, last->From + shortest);
    *last = {last->From, end, last->Value, true};
    if (end < run.To) runs.push_back({end, run.To, run.Value});
}

} // namespace

std::vector<HeldRun> RunsOf(const Series& series, const Span& span, Micros shortest)
{
    std::vector<HeldRun> runs;
    const std::size_t inside = series.Find(span.From);
    for (std::size_t i = inside > 0 ? inside - 1 : 0; i < series.Count() && series.TimeAt(i) < span.To; ++i) {
        const Micros next = i + 1 < series.Count() ? series.TimeAt(i + 1) : series.HeldUntil();
        const HeldRun run{std::max(series.TimeAt(i), span.From), std::min(next, span.To), series.ValueAt(i)};
        if (run.From < run.To && !series.IsGap(i)) AddRun(runs, run, shortest);
    }
    return runs;
}
