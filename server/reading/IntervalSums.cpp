#include "server/reading/IntervalSums.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

template <double IntervalSums::*Member>
Variant NumberOf(const IntervalSums& sums)
{
    return sums.Numbers > 0 ? Variant(sums.*Member) : Variant(Null{});
}

Variant AverageOf(const IntervalSums& sums)
{
    return sums.Numbers > 0 ? Variant(sums.Sum / static_cast<double>(sums.Numbers)) : Variant(Null{});
}

Variant TimeAverageOf(const IntervalSums& sums)
{
    return sums.HeldTime > 0 ? Variant(sums.HeldSum / static_cast<double>(sums.HeldTime)) : Variant(Null{});
}

constexpr std::array<Aggregate, 7> Aggregates = {{
    {u"Minimum", Aggregate::Numbers, NumberOf<&IntervalSums::Smallest>},
    {u"Maximum", Aggregate::Numbers, NumberOf<&IntervalSums::Largest>},
    {u"Average", Aggregate::Numbers, AverageOf},
    {u"TimeAverage", Aggregate::Times, TimeAverageOf},
    {u"Count", Aggregate::Values, [](const IntervalSums& sums) { return Variant(static_cast<double>(sums.Count)); }},
    {u"First", Aggregate::Values, [](const IntervalSums& sums) { return sums.First; }},
    {u"Last", Aggregate::Values, [](const IntervalSums& sums) { return sums.Last; }},
}};

} // namespace

void IntervalSums::Add(const Reading& reading)
{
    AddState(reading.State);
    if (!reading.IsGood()) return;
    if (Count++ == 0) First = reading.Value;
    Last = reading.Value;
    const double* number = reading.Value.GetIf<double>();
    if (number && !std::isnan(*number)) AddNumbers(1, *number, *number, *number);
}

void IntervalSums::Add(const Summary& block, Level level)
{
    AddState(block.WorstState);
    Source = std::max(Source, level);
    if (block.Numbers == 0) return;
    if (Count == 0) First = block.First;
    Count += block.Numbers;
    Last = block.Last;
    AddNumbers(block.Numbers, block.Smallest, block.Largest, block.Sum);
}

void IntervalSums::AddState(qint64 state)
{
    if (Badness(state) > Badness(WorstState)) WorstState = state;
}

void IntervalSums::AddNumbers(qint64 count, double smallest, double largest, double sum)
{
    Smallest = Numbers > 0 ? std::min(Smallest, smallest) : smallest;
    Largest = Numbers > 0 ? std::max(Largest, largest) : largest;
    Sum += sum;
    Numbers += count;
}

void IntervalSums::AddTime(double value, Micros length)
{
    HeldSum += value * static_cast<double>(length);
    HeldTime += length;
}

const Aggregate* FindAggregate(QStringView name)
{
    const auto found = std::find_if(Aggregates.begin(), Aggregates.end(),
                                    [&](const Aggregate& aggregate) { return aggregate.Name == name; });
    return found == Aggregates.end() ? nullptr : &*found;
}

QStringList AggregateNames()
{
    QStringList names;
    for (const Aggregate& aggregate : Aggregates) names.append(aggregate.Name.toString());
    return names;
}
