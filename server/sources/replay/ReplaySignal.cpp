#include "server/sources/replay/ReplaySignal.h"

#include <algorithm>
#include <cmath>

namespace {

/// Of one turn, in seconds. The duration of the last value is not known, so it is taken to be that of the one before.
double LengthOf(const std::vector<ReplayedValue>& values)
{
    const double last = values.back().Seconds;
    const auto other =
        std::find_if(values.rbegin(), values.rend(), [&](const auto& value) { return value.Seconds < last; });
    return other == values.rend() ? 0.0 : last - values.front().Seconds + (last - other->Seconds);
}

} // namespace

ReplaySignal::ReplaySignal(std::vector<ReplayedValue> values, bool repeats)
    : m_Values(std::move(values))
    , m_Length(repeats ? LengthOf(m_Values) : 0.0)
{
}

Variant ReplaySignal::Next(double seconds, VarType)
{
    const double since = m_Length > 0.0 ? std::fmod(seconds, m_Length) : seconds;
    const auto behind = std::upper_bound(m_Values.begin(), m_Values.end(), m_Values.front().Seconds + since,
                                         [](double now, const ReplayedValue& value) { return now < value.Seconds; });
    return std::prev(behind)->Value;
}
