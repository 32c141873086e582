#include "server/reading/IntervalWalk.h"
#include "server/reading/ReadRequest.h"
#include "server/reading/SqlReader.h"

#include <algorithm>

namespace {

/// As many values of an item are read in some milliseconds.
constexpr qint64 QuicklyRead = 10'000;
/// So many blocks at least an interval should have, so that its borders stay near where they were asked for.
constexpr Micros LeastBlocks = 2;

QStringList ColumnsOf(const ProcessedRequest& request)
{
    QStringList columns = {QStringLiteral("item"), QStringLiteral("time"), QStringLiteral("utc")};
    for (const Aggregate* aggregate : request.Aggregates) columns.append(aggregate->Name.toString());
    return columns + QStringList{QStringLiteral("state"), QStringLiteral("quality"), QStringLiteral("source")};
}

Aggregate::Need NeedsOf(const ProcessedRequest& request)
{
    Aggregate::Need most = Aggregate::Numbers;
    for (const Aggregate* aggregate : request.Aggregates) most = std::max(most, aggregate->Needs);
    return most;
}

Level Below(Level level)
{
    return static_cast<Level>(static_cast<int>(level) - 1);
}

QString SourceName(Level level)
{
    static const QString names[] = {QStringLiteral("Raw"), QStringLiteral("Minutes"), QStringLiteral("Hours"),
                                    QStringLiteral("Days")};
    return names[static_cast<int>(level)];
}

/// Reads one item and hands out its intervals.
class ProcessedRows
{
public:
    ProcessedRows(const ProcessedRequest& request, HistoryReader& reader, const Inquiry::Taker& take,
                  const ItemPath& item)
        : m_Request(request)
        , m_Reader(reader)
        , m_Take(take)
        , m_Item(item)
        , m_Name(item.Text())
        , m_Needs(NeedsOf(request))
        , m_Now(NeedsTime() ? Now() : std::numeric_limits<Micros>::min())
    {
    }

    bool Write()
    {
        const Level level = BestLevel();
        IntervalWalk walk({*m_Request.From, *m_Request.To, m_Request.Interval, level}, m_Now,
                          [this](const IntervalSums& sums) { return m_IsWanted = m_Take(RowOf(sums)); });
        m_Walk = &walk;
        if (NeedsTime()) ReadWhatHeld();
        Read(level, *m_Request.From, *m_Request.To);
        if (m_IsWanted) walk.Finish();
        return m_IsWanted;
    }

private:
    bool NeedsTime() const { return m_Needs == Aggregate::Times; }

    static Micros Now()
    {
        using namespace std::chrono;
        return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    }

    /// The coarsest level that leaves the borders where they were asked for; or, when there are too many values to be
    /// read quickly, that keeps them near.
    Level BestLevel()
    {
        if (NeedsTime() || !m_Reader.HasBlocks()) return Level::Values;
        for (const Level level : {Level::Days, Level::Hours, Level::Minutes}) {
            const bool fits = *m_Request.From % LengthOf(level) == 0 && m_Request.Interval % LengthOf(level) == 0;
            if (fits || IsOneInterval()) return level;
        }
        for (const Level level : {Level::Days, Level::Hours, Level::Minutes})
            if (m_Request.Interval >= LeastBlocks * LengthOf(level)) return HasMany(level) ? level : Level::Values;
        return Level::Values;
    }

    bool HasMany(Level level)
    {
        std::vector<Summary> blocks = m_Reader.ReadBlocks(m_Item, level, WholeBlocks(level), m_Grid);
        qint64 count = 0;
        for (const Summary& block : blocks) count += block.Rows;
        if (count <= QuicklyRead) return false;
        m_Blocks = std::move(blocks);
        m_BlocksLevel = level;
        return true;
    }

    TimeRange WholeBlocks(Level level) const
    {
        return {RoundUp(*m_Request.From, level), RoundDown(*m_Request.To, level)};
    }

    /// It has no inner borders.
    bool IsOneInterval() const { return m_Request.Interval >= *m_Request.To - *m_Request.From; }

    void ReadWhatHeld()
    {
        m_Reader.ReadValues(m_Item, {std::numeric_limits<Micros>::min(), *m_Request.From}, true, 1,
                            [this](const Reading& reading) {
                                m_Walk->Hold(reading);
                                return false;
                            });
    }

    /// Whole blocks, and of what is left at both ends the blocks of the level below.
    void Read(Level level, Micros from, Micros to)
    {
        if (from >= to || !m_IsWanted) return;
        if (level == Level::Values) return ReadValues({from, to});
        const Level below = Below(level);
        const TimeRange blocks{RoundUp(from, level), RoundDown(to, level)};
        if (blocks.From >= blocks.To) return Read(below, from, to);
        Read(below, from, blocks.From);
        ReadBlocks(level, blocks);
        Read(below, blocks.To, to);
    }

    /// Where other values than good numbers matter, and some came, the level below says more.
    void ReadBlocks(Level level, const TimeRange& range)
    {
        const bool isRead = level == m_BlocksLevel && !m_Blocks.empty();
        const std::vector<Summary> blocks =
            isRead ? std::exchange(m_Blocks, {}) : m_Reader.ReadBlocks(m_Item, level, range, m_Grid);
        for (std::size_t i = 0; i < blocks.size() && m_IsWanted; ++i) {
            const bool says = m_Needs == Aggregate::Numbers || blocks[i].IsComplete();
            const Micros next = i + 1 < blocks.size() ? blocks[i + 1].Start : range.To;
            if (says) m_Walk->Add(blocks[i], level);
            else Read(Below(level), blocks[i].Start, next);
        }
    }

    void ReadValues(const TimeRange& range)
    {
        m_Reader.ReadValues(m_Item, range, false, 0, [this](const Reading& reading) { return m_Walk->Add(reading); });
    }

    QList<Variant> RowOf(const IntervalSums& sums)
    {
        QList<Variant> row = {m_Name, m_Clock.DateOf(sums.Start), static_cast<double>(sums.Start)};
        for (const Aggregate* aggregate : m_Request.Aggregates) row.append(aggregate->Of(sums));
        row.append({static_cast<qint32>(sums.WorstState), QualityOf(sums), SourceName(sums.Source)});
        return row;
    }

    QString QualityOf(const IntervalSums& sums) const
    {
        const qint64 known = m_Needs == Aggregate::Numbers ? sums.Numbers : sums.Count;
        if (known == 0 && sums.HeldTime == 0) return QStringLiteral("NoData");
        const bool hasGap = NeedsTime() && sums.HeldTime < std::min(sums.End, m_Now) - sums.Start;
        return hasGap || sums.WorstState != 0 ? QStringLiteral("Partial") : QStringLiteral("Good");
    }

    const ProcessedRequest& m_Request;
    HistoryReader& m_Reader;
    const Inquiry::Taker& m_Take;
    const ItemPath& m_Item;
    const QString m_Name;
    const Aggregate::Need m_Needs;
    const Grid m_Grid{*m_Request.From, m_Request.Interval};
    Level m_BlocksLevel = Level::Values;
    std::vector<Summary> m_Blocks; ///< of the whole span, when they were read to know how many values there are
    const Micros m_Now;            ///< until when values hold; the beginning when nobody asks for times
    LocalClock m_Clock;
    IntervalWalk* m_Walk = nullptr;
    bool m_IsWanted = true;
};

} // namespace

void WriteProcessed(const ProcessedRequest& request, HistoryReader& reader, const Inquiry::Taker& take)
{
    for (const ItemPath& item : request.Items) {
        if (!ProcessedRows(request, reader, take, item).Write()) return;
    }
}

Inquiry ProcessedInquiry(const ProcessedRequest& request, const QString& table)
{
    return {request.Text(u"ReadProcessed"), ColumnsOf(request),
            [request, table](const DatabaseSession& session, const auto& take) {
                SqlReader reader(session, table);
                WriteProcessed(request, reader, take);
            }};
}
