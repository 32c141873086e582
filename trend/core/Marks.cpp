#include "trend/core/Marks.h"

#include <algorithm>

namespace {

constexpr std::size_t Most = 1'000'000;

bool IsBefore(const Marks::Mark& mark, Micros time)
{
    return mark.Time < time;
}

} // namespace

void Marks::Append(const Mark& mark)
{
    const auto isAfter = [](Micros time, const Mark& other) { return time < other.Time; };
    m_Marks.insert(std::upper_bound(m_Marks.begin(), m_Marks.end(), mark.Time, isAfter), mark);
    if (m_Marks.size() > Most) m_Marks.erase(m_Marks.begin(), m_Marks.begin() + Most / 2);
}

void Marks::Replace(const Span& span, const std::vector<Mark>& marks)
{
    m_Marks.insert(m_Marks.erase(Find(span.From), Find(span.To)), marks.begin(), marks.end());
}

std::optional<Marks::Mark> Marks::At(Micros time) const
{
    const auto behind = Find(time + 1);
    return behind == m_Marks.begin() ? std::nullopt : std::optional(*(behind - 1));
}

std::span<const Marks::Mark> Marks::Within(const Span& span) const
{
    return {Find(span.From), Find(span.To)};
}

std::vector<Marks::Place> Marks::Shown(const TimeScale& scale, double room) const
{
    std::vector<Place> places;
    auto mark = Find(scale.Shown.From);
    if (mark != m_Marks.begin()) --mark;
    for (; mark != m_Marks.end() && mark->Time < scale.Shown.To; ++mark) {
        const double pixel = std::max(scale.PixelOf(mark->Time), 0.0);
        if (!places.empty() && pixel == 0) places.back().Text = mark->Text; // it holds no longer at the beginning
        else if (!places.empty() && pixel < places.back().Pixel + room) ++places.back().Hidden;
        else places.push_back({pixel, mark->Text});
    }
    return places;
}

std::vector<Marks::Mark>::const_iterator Marks::Find(Micros time) const
{
    return std::lower_bound(m_Marks.begin(), m_Marks.end(), time, IsBefore);
}
