#include "server/sqlitehistory/SummarySweep.h"

namespace {

constexpr qint64 SpansAtFirst = 500; // some ask for no more
constexpr qint64 MostSpansAtOnce = 20'000;

} // namespace

/// A partition as far as it is wanted.
struct SummarySweep::Part
{
    Part(const PartitionFile& file, const SummaryQuery& query)
        : Rows(file.Path, RowPartition::Access::Reading)
    {
        Rows.BeginReading();
        Chunks = Rows.Chunks();
        for (const qint64 item : Rows.ItemsNamed(query.Controller, query.Item)) Log.emplace(item, Minute);
        if (Log.empty()) return;
        Rows.ReadBlocks(Chunk::Log, std::nullopt, [this](RowBlock&& block) {
            for (const HistoryRow& row : block.Rows)
                if (const auto item = Log.find(row.Item); item != Log.end()) item->second.Add(row);
        });
    }

    RowPartition Rows;
    std::vector<Chunk> Chunks;
    std::map<qint64, SummaryMaker> Log; ///< the minutes of each wanted item's rows in the log
};

SummarySweep::SummarySweep(const PartitionFolder& folder, SummaryQuery query, qint64 span)
    : m_Query(std::move(query))
    , m_Span(span)
{
    qint64 first = Chunk::Highest;
    qint64 last = Chunk::Lowest;
    for (const PartitionFile& file : folder.Files()) {
        const Chunk range = PartitionFolder::ContentsOf(file).Range;
        const bool hasAny = range.FirstUtc <= range.LastUtc && SpanBegin(range.FirstUtc, span) <= m_Query.To &&
                            range.LastUtc >= m_Query.From && !m_Query.IsNothing;
        if (!hasAny) continue;
        first = std::min(first, range.FirstUtc);
        last = std::max(last, range.LastUtc);
        Add(file);
    }
    if (first > last) m_Items.clear();
    else {
        m_Query.From = std::max(m_Query.From, SpanBegin(first, span));
        m_Query.To = std::min(m_Query.To, last);
    }
    // Only spans that begin within the range.
    const qint64 begin = m_Items.empty() ? 0 : SpanBegin(m_Query.From, span);
    m_Query.From = begin < m_Query.From ? begin + span : begin;
    m_Item = m_Items.cbegin();
    m_Window = m_Query.From;
    m_At = m_Summaries.cend();
}

SummarySweep::~SummarySweep() = default;

void SummarySweep::Add(const PartitionFile& file)
{
    PartitionFolder::Guard(file, [&] {
        auto part = std::make_unique<Part>(file, m_Query);
        for (const auto& [item, minutes] : part->Log) m_Items.insert(part->Rows.NameOf(item));
        m_Parts.push_back(std::move(part));
    });
}

bool SummarySweep::Next()
{
    if (m_At != m_Summaries.cend() && ++m_At != m_Summaries.cend()) return true;
    while (NextWindow()) {
        ReadWindow();
        m_At = m_Summaries.cbegin();
        if (m_At != m_Summaries.cend()) return true;
    }
    return false;
}

bool SummarySweep::NextWindow()
{
    if (m_Item == m_Items.cend()) return false;
    m_Window += m_Spans * m_Span;
    m_Spans = std::clamp(4 * m_Spans, SpansAtFirst, MostSpansAtOnce);
    if (m_Window <= m_Query.To) return true;
    m_Window = m_Query.From;
    m_Spans = SpansAtFirst;
    return ++m_Item != m_Items.cend() && m_Window <= m_Query.To;
}

void SummarySweep::ReadWindow()
{
    m_Summaries.clear();
    // The last span may begin at the end of the range and then reaches beyond it.
    const qint64 to = std::min(SpanBegin(m_Query.To, m_Span) + m_Span, m_Window + m_Spans * m_Span) - 1;
    for (const auto& part : m_Parts) {
        const std::vector<qint64> items = part->Rows.ItemsNamed(m_Item->Controller, m_Item->Item);
        if (items.empty()) continue;
        if (m_Span < Hour) ReadMinutes(*part, items.front(), to);
        else ReadHours(*part, items.front(), to);
        const auto log = part->Log.find(items.front());
        if (log == part->Log.end()) continue;
        for (const auto& [start, minute] : log->second.Made()) Take(minute, to);
    }
}

/// What begins within the window.
void SummarySweep::Take(const Summary& summary, qint64 to)
{
    if (summary.Start < m_Window || summary.Start > to) return;
    Summary moved = summary;
    moved.Start = SpanBegin(summary.Start, m_Span);
    const qint64 origin = m_Query.GridOrigin;
    const qint64 key =
        m_Query.GridLength > 0 ? origin + SpanBegin(moved.Start - origin, m_Query.GridLength) : moved.Start;
    m_Summaries[key].Add(moved);
}

void SummarySweep::ReadMinutes(Part& part, qint64 item, qint64 to)
{
    for (const Chunk& chunk : part.Chunks) {
        if (chunk.Number == Chunk::Log || chunk.FirstUtc > to || chunk.LastUtc < m_Window) continue;
        if (part.Rows.ReadMinutes(chunk.Number, item, [&](const Summary& minute) { Take(minute, to); })) continue;
        SummaryMaker maker(Minute);
        part.Rows.ReadRows(chunk.Number, item, [&](const HistoryRow& row) { maker.Add(row); });
        for (const auto& [start, minute] : maker.Made()) Take(minute, to);
    }
}

void SummarySweep::ReadHours(Part& part, qint64 item, qint64 to)
{
    Summaries hours;
    part.Rows.AddHours(item, m_Window, to, hours);
    for (const auto& [start, hour] : hours) Take(hour, to);
}
