#include "server/postgreshistory/PostgresTable.h"

#include "server/log/Log.h"
#include "server/postgreshistory/PostgresClock.h"

#include <QDateTime>

namespace {

using namespace std::chrono_literals;

constexpr double RateOfNarrow = 1400.0; // values a second: 5 million in an hour
constexpr auto BetweenRates = 10s;
constexpr auto BetweenTries = 10s;
constexpr auto BetweenLooks = 30s; // less than what is left of a partition's life once it is full

} // namespace

PostgresTable::PostgresTable(const HistoryDestination& destination)
    : HistoryTable(destination)
    , m_Names(destination.TableName)
    , m_Partitions(Session(), m_Names)
{
    FindLayout();
    TeachAverage();
    if (!MakePositions())
        Log(LogLevel::Debug, QStringLiteral("The table velsql_positions is not available: values that are being "
                                            "written when a connection is lost may be written twice."));
    m_Feed = RowFeed::Choose(Session(), m_IsPartitioned ? m_Names.Of(QStringLiteral("rows")) : Name(), m_IsPartitioned);
    if (!m_IsPartitioned) return;
    m_Progress->WrittenAt = LocalTime::Microseconds(std::chrono::system_clock::now());
    m_Partitions.Refresh();
    LookAtClock();
    m_Upkeep.emplace(destination, m_Progress);
}

/// Before the first value comes, whose time may be wrong.
void PostgresTable::LookAtClock() const
{
    if (Destination().Keep == 0s) return;
    PostgresClock memory(Session(), m_Names);
    ClockWatch::Begin(memory);
}

void PostgresTable::FindLayout()
{
    const Layout layout(Session(), m_Names);
    const Layout::Kind found = layout.Find();
    m_IsPartitioned = HasLayout(found, layout);
    if (!m_IsPartitioned && found == Layout::Kind::Missing) MakeFlat();
}

bool PostgresTable::HasLayout(Layout::Kind found, const Layout& layout) const
{
    if (found == Layout::Kind::Foreign) return false;
    if (found == Layout::Kind::Partitioned && layout.IsComplete()) return true;
    try {
        layout.Make(found);
        return true;
    } catch (const DatabaseError& error) {
        const bool isThere = found == Layout::Kind::Partitioned; // some part of it is not as it should be
        Log(isThere ? LogLevel::Debug : LogLevel::Info,
            QStringLiteral("The history %1 cannot be kept in partitions here: %2").arg(Name(), error.Description()));
        return isThere;
    }
}

void PostgresTable::MakeFlat() const
{
    Session().Run(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (controller_name text, item_name text, "
                                 "item_value text, item_time timestamp)")
                      .arg(Name()));
}

void PostgresTable::TeachAverage() const
{
    // A server may forbid this; an average of texts then fails with the database's own words.
    try {
        Session().Run(QStringLiteral("CREATE OR REPLACE FUNCTION velsql_add_number(float8[], text) RETURNS float8[] "
                                     "LANGUAGE sql IMMUTABLE AS $$ "
                                     "SELECT CASE WHEN $2 ~ '^\\s*[-+]?(\\d+\\.?\\d*|\\.\\d+)([eE][-+]?\\d+)?\\s*$' "
                                     "THEN ARRAY[$1[1] + $2::float8, $1[2] + 1] ELSE $1 END $$"));
        Session().Run(QStringLiteral(
            "CREATE OR REPLACE FUNCTION velsql_mean(float8[]) RETURNS float8 LANGUAGE sql IMMUTABLE AS $$ "
            "SELECT CASE WHEN $1[2] > 0 THEN $1[1] / $1[2] END $$"));
        Session().Run(
            QStringLiteral("CREATE OR REPLACE AGGREGATE avg(text) (SFUNC = velsql_add_number, STYPE = float8[], "
                           "FINALFUNC = velsql_mean, INITCOND = '{0,0}')"));
    } catch (const DatabaseError& error) {
        Log(LogLevel::Debug, QStringLiteral("The average of texts is not available: ") + error.Description());
    }
}

/// Partitions for the values, outside the transaction that writes them.
void PostgresTable::Prepare(std::span<const RecordedValue> values)
{
    if (!m_IsPartitioned) return;
    NoteRate(values.size());
    if (Clock::now() >= m_NextLook) m_Target = {}; // it may have been closed
    bool isFresh = false;
    for (const RecordedValue& value : values) {
        const qint64 local = m_Clock.Of(value.Time);
        if (m_Target.Holds(local)) continue;
        if (!std::exchange(isFresh, true)) Look();
        if (!m_Partitions.At(m_Clock.Spell(local))) MakePartition(m_Clock.Spell(local));
        m_Target = TargetAt(local);
    }
}

void PostgresTable::Look()
{
    m_Partitions.Refresh();
    m_NextLook = Clock::now() + BetweenLooks;
}

void PostgresTable::MakePartition(const QString& time)
{
    if (Clock::now() < m_NextTry || time < m_Partitions.ClosedUntil()) return;
    try {
        const bool isWide = m_Progress->Rate < RateOfNarrow;
        m_Partitions.MakeOpen(time, isWide ? Partitions::Wide : Partitions::Narrow);
    } catch (const DatabaseError& error) {
        m_NextTry = Clock::now() + BetweenTries;
        Log(LogLevel::Debug, QStringLiteral("A partition is missing: ") + error.Description());
    }
}

void PostgresTable::Insert(std::span<const RecordedValue> values)
{
    QString into;
    for (const RecordedValue& value : values) {
        const qint64 local = m_Clock.Of(value.Time);
        if (!m_Target.Holds(local)) m_Target = TargetAt(local);
        if (m_Target.Name != into) {
            if (!into.isEmpty()) m_Feed->End();
            into = m_Target.Name;
            m_Feed->Begin(into);
        }
        m_Feed->Add(PostgresRow(value, local));
    }
    if (values.empty()) return;
    m_Feed->End();
    if (m_Count >= 0) m_Count += static_cast<qint64>(values.size());
    m_Progress->Time = LocalTime::Microseconds(values.back().Time);
    m_Progress->WrittenAt = LocalTime::Microseconds(std::chrono::system_clock::now());
}

void PostgresTable::Trim()
{
    const qint32 maxRecord = Destination().MaxRecord;
    if (maxRecord <= 0) return;
    const QString rows = m_IsPartitioned ? m_Names.Of(QStringLiteral("rows")) : Name();
    if (m_Progress->HasDropped.exchange(false)) m_Count = -1;
    if (m_Count < 0) m_Count = Session().Ask(QStringLiteral("SELECT count(*) FROM %1").arg(rows)).toLongLong();
    // Many at once where there are many: finding the oldest takes its time.
    if (m_Count - maxRecord <= maxRecord / 1000) return;
    Session().Run(QStringLiteral("DELETE FROM %1 WHERE (tableoid, ctid) IN "
                                 "(SELECT tableoid, ctid FROM %1 ORDER BY item_time LIMIT %2)")
                      .arg(rows)
                      .arg(m_Count - maxRecord));
    m_Count = maxRecord;
}

void PostgresTable::RolledBack()
{
    m_Feed->Abandon();
    m_Count = -1;
}

/// What is closed is reached by the table of all, so that changes are noted.
PostgresTable::Target PostgresTable::TargetAt(qint64 local)
{
    if (!m_IsPartitioned) return {Name(), std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()};
    const Partition* partition = m_Partitions.At(m_Clock.Spell(local));
    if (!partition) return {m_Names.Of(QStringLiteral("rows"))};
    const auto edge = [](const QString& time) { return TimeOf(time).toMSecsSinceEpoch() * 1000; };
    return {partition->IsOpen() ? m_Partitions.NameOf(*partition) : m_Names.Of(QStringLiteral("rows")),
            edge(partition->From), edge(partition->To)};
}

void PostgresTable::NoteRate(std::size_t count)
{
    m_RateCount += static_cast<double>(count);
    const auto lasted = Clock::now() - m_RateSince;
    if (lasted < BetweenRates) return;
    m_Progress->Rate = m_RateCount / std::chrono::duration<double>(lasted).count();
    m_RateCount = 0.0;
    m_RateSince = Clock::now();
}
