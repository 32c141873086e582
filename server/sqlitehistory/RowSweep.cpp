#include "server/sqlitehistory/RowSweep.h"

#include "server/sqlitehistory/TimeKey.h"

#include <algorithm>

namespace {

/// Beyond this a chunk is read as a whole rather than block by block.
constexpr std::size_t FewItems = 500;

QByteArray TextOf(const HistoryRow& row)
{
    if (row.HasTimeText) return row.Time.Bytes.toByteArray();
    const TimeText text = SpellTime(row.Local);
    return {text.data(), static_cast<qsizetype>(text.size())};
}

/// Rows of the same key: only texts that are not canonical can differ.
int CompareTexts(const HistoryRow& row, const HistoryRow& other)
{
    return row.HasTimeText || other.HasTimeText ? TextOf(row).compare(TextOf(other)) : 0;
}

} // namespace

bool RowQuery::Wants(const Chunk& range) const
{
    return range.Rows > 0 && range.FirstLocal <= ToLocal && range.LastLocal >= FromLocal && range.FirstUtc <= ToUtc &&
           range.LastUtc >= FromUtc;
}

bool RowQuery::Wants(const HistoryRow& row) const
{
    if (row.IsRemoved || row.Local < FromLocal || row.Local > ToLocal) return false;
    if (FromUtc == Chunk::Lowest && ToUtc == Chunk::Highest) return true;
    return row.HasUtc() && row.Utc() >= FromUtc && row.Utc() <= ToUtc;
}

/// A partition that is being read, with the items that are wanted of it.
struct RowSweep::Open
{
    PartitionReaders::ReaderRef Partition;
    std::optional<std::vector<qint64>> Items; ///< in number order; empty: all
};

/// Rows of one chunk that are wanted, in order.
struct RowSweep::Loaded
{
    struct Place
    {
        quint32 Block;
        quint32 Index;
    };

    const HistoryRow& Row() const { return Blocks[Order[At].Block].Rows[Order[At].Index]; }

    std::shared_ptr<Open> From;
    qint64 Chunk = 0;
    std::vector<RowBlock> Blocks;
    std::vector<Place> Order;
    std::size_t At = 0;
};

/// A partition, a chunk or a row; of the first two only the beginning of their time is known.
struct RowSweep::Stop
{
    qint64 Key = 0;
    qint64 Partition = 0;
    qint64 Chunk = 0;
    PartitionFile File = {};                ///< of a partition
    std::shared_ptr<Open> From = nullptr;   ///< of a chunk
    ::Chunk Range = {};                     ///< of a chunk
    std::unique_ptr<Loaded> Rows = nullptr; ///< of rows
};

RowSweep::RowSweep(PartitionReadersRef partitions, RowQuery query)
    : m_Partitions(std::move(partitions))
    , m_Query(std::move(query))
{
    for (const auto& [file, contents] : m_Partitions->Files())
        if (m_Query.Wants(contents.Range)) Push({.Key = KeyOf(contents.Range), .Partition = file.Number, .File = file});
}

RowSweep::~RowSweep() = default;

bool RowSweep::ComesLater(const RowQuery& query, const Stop& stop, const Stop& other)
{
    const auto place = [](const Stop& s) {
        const bool isLog = s.Chunk == Chunk::Log && (s.From || s.Rows);
        return std::pair(s.Partition, isLog ? Chunk::Highest : s.Chunk);
    };
    if (query.By == RowQuery::Order::None) return place(stop) > place(other);
    if (stop.Key != other.Key) return (stop.Key > other.Key) != query.IsDescending;
    // What has not been looked into may hold rows that come first.
    if (!stop.Rows || !other.Rows) return stop.Rows && !other.Rows;
    const int texts = CompareTexts(stop.Rows->Row(), other.Rows->Row());
    if (texts != 0) return (texts > 0) != query.IsDescending;
    return query.IsDescending ? place(stop) < place(other) : place(stop) > place(other);
}

qint64 RowSweep::KeyOf(const Chunk& range) const
{
    if (m_Query.By == RowQuery::Order::Utc) return m_Query.IsDescending ? range.LastUtc : range.FirstUtc;
    return m_Query.IsDescending ? range.LastLocal : range.FirstLocal;
}

qint64 RowSweep::KeyOf(const HistoryRow& row) const
{
    if (m_Query.By == RowQuery::Order::Utc) return row.HasUtc() ? row.Utc() : Chunk::Lowest;
    return row.Local;
}

void RowSweep::Push(Stop&& stop)
{
    m_Stops.push_back(std::move(stop));
    std::push_heap(m_Stops.begin(), m_Stops.end(),
                   [this](const Stop& a, const Stop& b) { return ComesLater(m_Query, a, b); });
}

RowSweep::Stop RowSweep::Pop()
{
    std::pop_heap(m_Stops.begin(), m_Stops.end(),
                  [this](const Stop& a, const Stop& b) { return ComesLater(m_Query, a, b); });
    Stop stop = std::move(m_Stops.back());
    m_Stops.pop_back();
    return stop;
}

/// Whether the rows at hand go on without a look at the others.
bool RowSweep::Step()
{
    if (!m_Now) return false;
    Loaded& rows = *m_Now->Rows;
    if (++rows.At == rows.Order.size()) {
        m_Now.reset();
        return false;
    }
    m_Now->Key = KeyOf(rows.Row());
    if (m_Stops.empty() || !ComesLater(m_Query, *m_Now, m_Stops.front())) return true;
    Push(std::move(*m_Now));
    m_Now.reset();
    return false;
}

bool RowSweep::Next()
{
    if (Step()) return true;
    while (!m_Stops.empty()) {
        Stop stop = Pop();
        if (stop.Rows) {
            m_Now = std::make_unique<Stop>(std::move(stop));
            return true;
        }
        const PartitionFile file = stop.From ? stop.From->Partition->File : stop.File;
        PartitionFolder::Guard(file, [&] {
            if (stop.From) Load(stop.From, stop.Range);
            else Expand(file);
        });
    }
    return false;
}

void RowSweep::Expand(const PartitionFile& file)
{
    const auto open = std::make_shared<Open>(Open{m_Partitions->Open(file), {}});
    const PartitionReaders::Reader& reader = *open->Partition;
    if (m_Query.Controller || m_Query.Item) {
        open->Items = reader.Rows.ItemsNamed(m_Query.Controller, m_Query.Item);
        if (open->Items->empty()) return;
        std::sort(open->Items->begin(), open->Items->end());
    }
    for (const Chunk& chunk : reader.Chunks)
        if (m_Query.Wants(chunk))
            Push({.Key = KeyOf(chunk), .Partition = file.Number, .Chunk = chunk.Number, .From = open, .Range = chunk});
}

void RowSweep::Load(const std::shared_ptr<Open>& partition, const Chunk& chunk)
{
    auto loaded = std::make_unique<Loaded>();
    const auto& items = partition->Items;
    const bool isByBlock = items && items->size() <= FewItems;
    const auto isWanted = [&](const HistoryRow& row) {
        return m_Query.Wants(row) && (!items || std::binary_search(items->begin(), items->end(), row.Item));
    };
    partition->Partition->Rows.ReadBlocks(chunk.Number, isByBlock ? items : std::nullopt, [&](RowBlock&& block) {
        const auto number = static_cast<quint32>(loaded->Blocks.size());
        const std::size_t before = loaded->Order.size();
        for (quint32 i = 0; i < block.Rows.size(); ++i)
            if (isWanted(block.Rows[i])) loaded->Order.push_back({number, i});
        if (loaded->Order.size() > before) loaded->Blocks.push_back(std::move(block));
    });
    if (loaded->Order.empty()) return;
    const auto isEarlier = [&](Loaded::Place a, Loaded::Place b) {
        const HistoryRow& row = loaded->Blocks[a.Block].Rows[a.Index];
        const HistoryRow& other = loaded->Blocks[b.Block].Rows[b.Index];
        const qint64 key = KeyOf(row);
        const qint64 otherKey = KeyOf(other);
        if (m_Query.IsDescending) return key != otherKey ? key > otherKey : CompareTexts(row, other) > 0;
        return key != otherKey ? key < otherKey : CompareTexts(row, other) < 0;
    };
    // Of the rows of one time the one recorded last comes first then.
    if (m_Query.IsDescending) std::reverse(loaded->Order.begin(), loaded->Order.end());
    if (m_Query.By != RowQuery::Order::None) std::stable_sort(loaded->Order.begin(), loaded->Order.end(), isEarlier);
    loaded->From = partition;
    loaded->Chunk = chunk.Number;
    const qint64 key = KeyOf(loaded->Row());
    Push(
        {.Key = key, .Partition = partition->Partition->File.Number, .Chunk = chunk.Number, .Rows = std::move(loaded)});
}

const HistoryRow& RowSweep::Row() const
{
    return m_Now->Rows->Row();
}

const ItemName& RowSweep::Name() const
{
    return m_Now->Rows->From->Partition->Rows.NameOf(Row().Item);
}

RowPlace RowSweep::Place() const
{
    const Loaded& rows = *m_Now->Rows;
    const Loaded::Place place = rows.Order[rows.At];
    return {rows.From->Partition->File.Number, rows.Chunk, rows.Blocks[place.Block].Number, place.Index};
}
