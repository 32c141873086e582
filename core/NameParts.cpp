#include "core/NameParts.h"

#include "core/TreeNode.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int NamesOfPart = 64; ///< fewer names than that are looked at as quickly
constexpr int MostOfPart = 2 * NamesOfPart;

constexpr int BitsOfIndex = 10; // of the 1024 bits of a part

/// The same for all letters that are the same but for their case. Halves of characters beyond the first 65,536 count as
/// one, because only both together say which letter it is.
quint32 Folded(QChar letter)
{
    return letter.isSurrogate() ? 0xD800 : letter.toCaseFolded().unicode();
}

/// Multiplicative hashing (Knuth, The Art of Computer Programming 3, 6.4).
quint16 BitOf(quint32 group)
{
    return static_cast<quint16>((group * 2654435769U) >> (32 - BitsOfIndex));
}

/// Hands on the bit of each group of one, two and three letters.
template <typename Take>
void ForEachGroup(QStringView text, Take take)
{
    constexpr quint32 Second = 0x01000193, Third = 0x85EBCA6B;
    quint32 before = 0, beforeThat = 0; // no letter
    for (const QChar letter : text) {
        const quint32 folded = Folded(letter);
        take(BitOf(folded));
        if (before) take(BitOf(folded + before * Second));
        if (beforeThat) take(BitOf(folded + before * Second + beforeThat * Third));
        beforeThat = before;
        before = folded;
    }
}

template <typename Bits>
void Add(Bits& groups, QStringView name)
{
    ForEachGroup(name, [&](quint16 bit) { groups[bit / 64] |= quint64(1) << (bit % 64); });
}

} // namespace

NameParts::Wanted::Wanted(QStringView text)
{
    ForEachGroup(text, [this](quint16 bit) { m_Bits.push_back(bit); });
    std::ranges::reverse(m_Bits); // the last ones differ most often
}

bool NameParts::MayHold(const Part& part, const Wanted& text)
{
    return !part.IsKnown || std::ranges::all_of(text.m_Bits, [&](quint16 bit) {
        return (part.Groups[bit / 64] >> (bit % 64) & 1) != 0;
    });
}

std::size_t NameParts::PartAt(int row) const
{
    const auto next = std::ranges::upper_bound(m_Parts, row, {}, &Part::First);
    return static_cast<std::size_t>(next - m_Parts.begin()) - 1;
}

int NameParts::End(std::size_t part, const std::vector<TreeNodeRef>& siblings) const
{
    return part + 1 < m_Parts.size() ? m_Parts[part + 1].First : static_cast<int>(siblings.size());
}

NameParts::Rows NameParts::Next(int row, const Wanted& text) const
{
    constexpr int Behind = std::numeric_limits<int>::max();
    if (m_Parts.empty()) return {row, Behind};
    std::size_t part = PartAt(row);
    while (part < m_Parts.size() && !MayHold(m_Parts[part], text)) ++part;
    if (part == m_Parts.size()) return {Behind, Behind};
    return {std::max(row, m_Parts[part].First), part + 1 < m_Parts.size() ? m_Parts[part + 1].First : Behind};
}

bool NameParts::Inserted(const std::vector<TreeNodeRef>& siblings, int row, int count)
{
    if (m_Parts.empty()) {
        if (siblings.size() < NamesOfPart) return false;
        m_Parts.push_back({0, false, {}});
        m_Learnt = 0;
        return true;
    }
    const std::size_t part = PartAt(row);
    Move(part + 1, count);
    if (!m_Parts[part].IsKnown) return false;
    if (End(part, siblings) - m_Parts[part].First > MostOfPart) {
        m_Parts[part].IsKnown = false;
        m_Learnt = std::min(m_Learnt, part);
        return true;
    }
    for (int at = row; at < row + count; ++at)
        Add(m_Parts[part].Groups, siblings[static_cast<std::size_t>(at)]->TextView());
    return false;
}

void NameParts::Removed(const std::vector<TreeNodeRef>& siblings, int row)
{
    if (m_Parts.empty()) return;
    const std::size_t part = PartAt(row);
    Move(part + 1, -1);
    if (m_Parts[part].First == End(part, siblings)) {
        m_Parts.erase(m_Parts.begin() + static_cast<std::ptrdiff_t>(part));
        m_Learnt = std::min(m_Learnt, part);
    } else if (m_Parts[part].IsKnown) {
        LearnPart(part, siblings);
    }
}

void NameParts::Move(std::size_t part, int rows)
{
    for (; part < m_Parts.size(); ++part) m_Parts[part].First += rows;
}

void NameParts::LearnPart(std::size_t part, const std::vector<TreeNodeRef>& siblings)
{
    Part& learnt = m_Parts[part];
    learnt.IsKnown = true;
    learnt.Groups = {};
    for (int row = learnt.First; row < End(part, siblings); ++row)
        Add(learnt.Groups, siblings[static_cast<std::size_t>(row)]->TextView());
}

bool NameParts::Learn(const std::vector<TreeNodeRef>& siblings)
{
    while (m_Learnt < m_Parts.size() && m_Parts[m_Learnt].IsKnown) ++m_Learnt;
    if (m_Learnt == m_Parts.size()) return false;
    const int next = m_Parts[m_Learnt].First + NamesOfPart;
    if (next < End(m_Learnt, siblings))
        m_Parts.insert(m_Parts.begin() + static_cast<std::ptrdiff_t>(m_Learnt) + 1, {next, false, {}});
    LearnPart(m_Learnt++, siblings);
    return true;
}
