#include "trend/core/Series.h"

#include <algorithm>
#include <cmath>

std::size_t Series::Find(Micros time) const
{
    return static_cast<std::size_t>(std::lower_bound(m_Times.begin(), m_Times.end(), time) - m_Times.begin());
}

/// Looks ever further from the hint, then halves.
std::size_t Series::Find(Micros time, std::size_t hint) const
{
    std::size_t low = 0;
    std::size_t high = m_Times.size();
    std::size_t step = 1;
    std::size_t at = std::min(hint, high);
    if (at < high && m_Times[at] < time) {
        for (; at < high && m_Times[at] < time; at += step, step *= 2) low = at + 1;
        high = std::min(at, high);
    } else {
        for (; at > 0 && m_Times[at - 1] >= time; at -= std::min(at, step), step *= 2) high = at;
        low = at;
        high = std::min(high, m_Times.size());
    }
    const auto begin = m_Times.begin();
    return static_cast<std::size_t>(
        std::lower_bound(begin + static_cast<std::ptrdiff_t>(low), begin + static_cast<std::ptrdiff_t>(high), time) -
        begin);
}

void Series::Append(const Sample& sample)
{
    if (!m_Times.empty() && sample.Time < m_Times.back()) {
        const auto place = std::upper_bound(m_Times.begin(), m_Times.end(), sample.Time) - m_Times.begin();
        m_Times.insert(m_Times.begin() + place, sample.Time);
        m_Values.insert(m_Values.begin() + place, sample.Value);
        Changed(static_cast<std::size_t>(place));
    } else {
        m_Times.push_back(sample.Time);
        m_Values.push_back(sample.Value);
        m_Steps.Append(sample.Value);
        if (IsGap(Count() - 1)) m_Gaps.push_back(Count() - 1);
    }
    if (Count() > m_Most) DropOldest();
}

void Series::Replace(const Span& span, std::span<const Sample> samples)
{
    const auto from = static_cast<std::ptrdiff_t>(Find(span.From));
    const auto to = static_cast<std::ptrdiff_t>(Find(span.To));
    m_Times.erase(m_Times.begin() + from, m_Times.begin() + to);
    m_Values.erase(m_Values.begin() + from, m_Values.begin() + to);
    m_Times.insert(m_Times.begin() + from, samples.size(), 0);
    m_Values.insert(m_Values.begin() + from, samples.size(), 0);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        m_Times[static_cast<std::size_t>(from) + i] = samples[i].Time;
        m_Values[static_cast<std::size_t>(from) + i] = samples[i].Value;
    }
    Changed(static_cast<std::size_t>(from));
}

Micros Series::HeldUntil() const
{
    const Micros last = m_Times.empty() ? Span::Earliest : m_Times.back();
    return std::max(last, m_HeldUntil.value_or(last));
}

std::optional<double> Series::At(Micros time, Drawing drawing) const
{
    const auto behind = std::upper_bound(m_Times.begin(), m_Times.end(), time) - m_Times.begin();
    return Between(static_cast<std::size_t>(behind), time, drawing);
}

std::optional<double> Series::Between(std::size_t next, Micros time, Drawing drawing) const
{
    if (next == 0 || time > HeldUntil() || IsGap(next - 1)) return std::nullopt;
    const double value = m_Values[next - 1];
    if (drawing == Drawing::Step || next == Count() || IsGap(next)) return value;
    const auto length = static_cast<double>(m_Times[next] - m_Times[next - 1]);
    return std::lerp(value, m_Values[next], static_cast<double>(time - m_Times[next - 1]) / length);
}

void Series::Changed(std::size_t from)
{
    m_Steps.Update(m_Values, from);
    m_Gaps.erase(std::lower_bound(m_Gaps.begin(), m_Gaps.end(), from), m_Gaps.end());
    for (std::size_t i = from; i < Count(); ++i) {
        if (IsGap(i)) m_Gaps.push_back(i);
    }
}

bool Series::HasGap(std::size_t begin, std::size_t end) const
{
    const auto gap = std::lower_bound(m_Gaps.begin(), m_Gaps.end(), begin);
    return gap != m_Gaps.end() && *gap < end;
}

void Series::DropOldest()
{
    const auto count = static_cast<std::ptrdiff_t>(Count() / 2);
    m_Times.erase(m_Times.begin(), m_Times.begin() + count);
    m_Values.erase(m_Values.begin(), m_Values.begin() + count);
    Changed(0);
}
