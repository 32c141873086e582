#include "server/sources/modbus/ReadPlan.h"

#include <algorithm>
#include <optional>

namespace {

/// Variables that one request can read stay whole, so that all of it is of the same moment.
void AddPieces(std::vector<Piece>& pieces, const Form& form, quint32 variable, const ReadLimits& limits)
{
    const bool fits = form.Count <= limits.Most(form.Place);
    const qint32 size = fits ? form.Count : form.ElementSize();
    for (qint32 at = 0; at < form.Count; at += size) pieces.push_back({{form.Place, form.First + at, size}, variable});
}

Span Joined(const Span& first, const Span& second)
{
    return {first.Place, first.First, std::max(first.End(), second.End()) - first.First};
}

/// The refused spans in the order of their beginnings, to be asked for in rising order.
class Refusals
{
public:
    explicit Refusals(std::span<const Span> refused)
    {
        for (std::size_t i = 0; i < refused.size(); ++i) m_Sorted.push_back({refused[i], i});
        std::ranges::sort(m_Sorted, {}, [](const Entry& entry) { return KeyOf(entry.Where); });
    }

    /// The number of one that lies whole in `span`; none when there is none.
    std::optional<std::size_t> Within(const Span& span) const
    {
        auto entry = std::ranges::lower_bound(m_Sorted, KeyOf(span), {}, [](const Entry& e) { return KeyOf(e.Where); });
        for (; entry != m_Sorted.end() && entry->Where.Place == span.Place && entry->Where.First < span.End();
             ++entry) {
            if (span.Contains(entry->Where)) return entry->Number;
        }
        return std::nullopt;
    }

private:
    struct Entry
    {
        Span Where;
        std::size_t Number;
    };
    static std::pair<Area, qint32> KeyOf(const Span& span) { return {span.Place, span.First}; }

    std::vector<Entry> m_Sorted;
};

/// Whether a request may be grown by what begins at `next`, gap included.
bool IsNear(const Span& block, const Span& next, const ReadLimits& limits)
{
    return next.Place == block.Place && next.First <= block.End() + limits.Gap &&
           next.First < block.First + limits.Most(block.Place);
}

/// The request that begins with the piece at `begin` takes all that it can; what it takes is marked.
ReadBlock TakeBlock(const std::vector<Piece>& pieces, std::size_t begin, const ReadLimits& limits,
                    const Refusals& refusals, std::vector<bool>& taken)
{
    ReadBlock block{pieces[begin].Where, {}};
    for (std::size_t i = begin; i < pieces.size() && IsNear(block.Where, pieces[i].Where, limits); ++i) {
        const Span grown = Joined(block.Where, pieces[i].Where);
        if (taken[i] || grown.Count > limits.Most(grown.Place) || refusals.Within(grown)) continue;
        taken[i] = true;
        block.Where = grown;
        block.Pieces.push_back(pieces[i]);
    }
    return block;
}

Span Around(std::span<const Piece> pieces)
{
    Span all = pieces.front().Where;
    for (const Piece& piece : pieces) all = Joined(all, piece.Where);
    return all;
}

} // namespace

ReadPlan PlanReading(std::span<const Form> variables, const ReadLimits& limits, std::span<const Span> refused)
{
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < variables.size(); ++i) AddPieces(pieces, variables[i], static_cast<quint32>(i), limits);
    const auto place = [](const Piece& piece) { return std::pair(piece.Where.Place, piece.Where.First); };
    std::ranges::stable_sort(pieces, {}, place);

    const Refusals refusals(refused);
    ReadPlan plan;
    std::vector<bool> taken(pieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (taken[i]) continue;
        if (const auto refusal = refusals.Within(pieces[i].Where))
            plan.Unread.push_back({pieces[i].Variable, *refusal});
        else plan.Blocks.push_back(TakeBlock(pieces, i, limits, refusals, taken));
    }
    return plan;
}

std::vector<ReadBlock> Halved(const ReadBlock& block)
{
    // Several variables may want the same registers.
    const Span& first = block.Pieces.front().Where;
    const bool isOne = std::ranges::all_of(block.Pieces, [&](const Piece& piece) { return piece.Where == first; });
    if (isOne) return {};
    const auto middle = static_cast<std::ptrdiff_t>(block.Pieces.size() / 2);
    const auto at = block.Pieces.begin() + middle;
    const std::vector<Piece> low(block.Pieces.begin(), at), high(at, block.Pieces.end());
    return {{Around(low), low}, {Around(high), high}};
}
