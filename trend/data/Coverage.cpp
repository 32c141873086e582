#include "trend/data/Coverage.h"

#include <algorithm>
#include <array>

namespace {

constexpr Micros Second = MicrosASecond;
constexpr Micros Minute = 60 * Second;
constexpr Micros Hour = 60 * Minute;
constexpr Micros Day = 24 * Hour;

/// Whole minutes, hours and days are what the server has summed up.
constexpr std::array Rounds = {1 * Second,  2 * Second,  3 * Second, 5 * Second, 10 * Second, 15 * Second, 20 * Second,
                               30 * Second, 1 * Minute,  2 * Minute, 3 * Minute, 5 * Minute,  10 * Minute, 15 * Minute,
                               20 * Minute, 30 * Minute, 1 * Hour,   2 * Hour,   3 * Hour,    4 * Hour,    6 * Hour,
                               8 * Hour,    12 * Hour,   1 * Day,    2 * Day,    5 * Day,     10 * Day,    20 * Day,
                               50 * Day,    100 * Day,   200 * Day,  500 * Day,  1000 * Day,  2000 * Day,  5000 * Day};

Micros FloorTo(Micros time, Micros interval)
{
    const Micros rest = time % interval;
    return time - rest - (rest < 0 ? interval : 0);
}

} // namespace

void Coverage::Add(const Span& span, Micros interval)
{
    if (span.Length() <= 0) return;
    Forget(span);
    const auto place =
        std::find_if(m_Pieces.begin(), m_Pieces.end(), [&](const Piece& piece) { return piece.Of.From >= span.To; });
    m_Pieces.insert(place, {span, interval});
    Merge();
}

void Coverage::Forget(const Span& span)
{
    std::vector<Piece> kept;
    for (const Piece& piece : m_Pieces) {
        const Span before{piece.Of.From, std::min(piece.Of.To, span.From)};
        const Span behind{std::max(piece.Of.From, span.To), piece.Of.To};
        if (before.Length() > 0) kept.push_back({before, piece.Interval});
        if (behind.Length() > 0) kept.push_back({behind, piece.Interval});
    }
    m_Pieces = std::move(kept);
}

void Coverage::Merge()
{
    std::vector<Piece> merged;
    for (const Piece& piece : m_Pieces) {
        const bool goesOn =
            !merged.empty() && merged.back().Of.To == piece.Of.From && merged.back().Interval == piece.Interval;
        if (goesOn) merged.back().Of.To = piece.Of.To;
        else merged.push_back(piece);
    }
    m_Pieces = std::move(merged);
}

std::vector<Span> Coverage::Missing(const Span& span, Micros interval) const
{
    std::vector<Span> missing;
    Micros from = span.From;
    for (const Piece& piece : m_Pieces) {
        if (piece.Interval > interval || piece.Of.To <= from) continue;
        if (piece.Of.From >= span.To) break;
        if (piece.Of.From > from) missing.push_back({from, piece.Of.From});
        from = piece.Of.To;
    }
    if (from < span.To) missing.push_back({from, span.To});
    return missing;
}

std::vector<Span> Coverage::Within(const Span& span) const
{
    std::vector<Span> parts;
    for (const Piece& piece : m_Pieces) {
        const Span part{std::max(piece.Of.From, span.From), std::min(piece.Of.To, span.To)};
        if (part.Length() > 0) parts.push_back(part);
    }
    return parts;
}

Span Coverage::LastExact() const
{
    const auto last =
        std::find_if(m_Pieces.rbegin(), m_Pieces.rend(), [](const Piece& piece) { return piece.Interval == Exact; });
    return last == m_Pieces.rend() ? Span{0, 0} : last->Of;
}

Micros RoundInterval(Micros column)
{
    if (column >= Rounds.front()) return *(std::upper_bound(Rounds.begin(), Rounds.end(), column) - 1);
    Micros interval = 1;
    while (interval * 2 <= column) interval *= 2;
    return interval;
}

Span Aligned(const Span& span, Micros interval)
{
    return {FloorTo(span.From, interval), FloorTo(span.To + interval - 1, interval)};
}
