#include "trend/core/Extremes.h"

#include <algorithm>

namespace {

template <typename Values>
void AddRun(Extreme& extreme, const Values& values, std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; ++i) extreme.Add(values[i]);
}

/// Those that are made of what has changed below.
template <typename Below>
void UpdateBlocks(std::vector<Extreme>& blocks, const Below& below, std::size_t changed)
{
    constexpr std::size_t Together = Extremes::Together;
    blocks.resize((below.size() + Together - 1) / Together);
    for (std::size_t block = changed / Together; block < blocks.size(); ++block) {
        blocks[block] = {};
        AddRun(blocks[block], below, block * Together, std::min((block + 1) * Together, below.size()));
    }
}

} // namespace

void Extremes::Append(double value)
{
    std::size_t block = m_Count++;
    for (std::size_t level = 0; block > 0 || level == 0; ++level) {
        block /= Together;
        if (level == m_Levels.size()) {
            m_Levels.emplace_back();
            if (level > 0) AddRun(m_Levels[level].emplace_back(), m_Levels[level - 1], 0, m_Levels[level - 1].size());
        }
        std::vector<Extreme>& blocks = m_Levels[level];
        if (block == blocks.size()) blocks.emplace_back();
        blocks[block].Add(value);
    }
}

void Extremes::Update(std::span<const double> values, std::size_t changed)
{
    m_Count = values.size();
    std::size_t levels = 1;
    for (std::size_t size = m_Count; size > Together; size = (size + Together - 1) / Together) ++levels;
    m_Levels.resize(levels);
    UpdateBlocks(m_Levels[0], values, changed);
    for (std::size_t level = 1; level < levels; ++level)
        UpdateBlocks(m_Levels[level], m_Levels[level - 1], changed /= Together);
}

Extreme Extremes::Of(std::span<const double> values, std::size_t begin, std::size_t end) const
{
    Extreme extreme;
    const auto whole = [](std::size_t first, std::size_t last) { return first / Together + 1 < last / Together; };
    if (!whole(begin, end)) {
        AddRun(extreme, values, begin, end);
        return extreme;
    }
    std::size_t first = (begin + Together - 1) / Together;
    std::size_t last = end / Together;
    AddRun(extreme, values, begin, first * Together);
    AddRun(extreme, values, last * Together, end);
    std::size_t level = 0;
    for (; level + 1 < m_Levels.size() && whole(first, last); ++level) {
        const std::size_t above = (first + Together - 1) / Together;
        AddRun(extreme, m_Levels[level], first, above * Together);
        AddRun(extreme, m_Levels[level], last / Together * Together, last);
        first = above;
        last /= Together;
    }
    AddRun(extreme, m_Levels[level], first, last);
    return extreme;
}
