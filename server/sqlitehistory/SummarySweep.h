#pragma once

#include "server/sqlitehistory/PartitionFolder.h"

#include <set>

/// Which summaries are wanted: those that begin within the range, in microseconds since 1970-01-01 UTC, both ends
/// included.
struct SummaryQuery
{
    std::optional<QByteArray> Controller;
    std::optional<QByteArray> Item;
    qint64 From = Chunk::Lowest;
    qint64 To = Chunk::Highest;
    bool IsNothing = false;
    /// Those that begin in the same of these intervals come as one, or some; 0: each by itself.
    qint64 GridLength = 0;
    qint64 GridOrigin = 0;
};

/// Goes through the summaries, item by item and forwards in time. What is read at once is limited.
class SummarySweep
{
public:
    /// Throws DescribedError.
    SummarySweep(const PartitionFolder& folder, SummaryQuery query, qint64 span);
    ~SummarySweep();

    /// Goes to the next one, at first to the first one; false at the end. Throws DescribedError.
    bool Next();
    const ItemName& Name() const { return *m_Item; }
    const Summary& At() const { return m_At->second; }

private:
    struct Part;

    void Add(const PartitionFile& file);
    bool NextWindow();
    void ReadWindow();
    void Take(const Summary& summary, qint64 to);
    void ReadMinutes(Part& part, qint64 item, qint64 to);
    void ReadHours(Part& part, qint64 item, qint64 to);

    SummaryQuery m_Query;
    const qint64 m_Span;
    std::vector<std::unique_ptr<Part>> m_Parts;
    std::set<ItemName> m_Items;
    std::set<ItemName>::const_iterator m_Item;
    qint64 m_Window = 0; ///< where what is at hand begins
    qint64 m_Spans = 0;  ///< and how long it is; 0 at first
    Summaries m_Summaries;
    Summaries::const_iterator m_At;
};
