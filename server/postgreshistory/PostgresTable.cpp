#include "server/postgreshistory/PostgresTable.h"

#include "server/database/SqlValue.h"
#include "server/log/Log.h"

#include <cmath>

namespace {

using namespace std::chrono_literals;

constexpr double RateOfNarrow = 1400.0; // values a second: 5 million in an hour
constexpr auto BetweenRates = 10s;
constexpr auto BetweenTries = 10s;

qint64 Microseconds(TimeStamp time)
{
    return std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch()).count();
}

/// What a text says as a number, as the database's own function sees it.
bool SaysNumber(const QString& text)
{
    const QString trimmed = text.trimmed();
    const bool canBe = !trimmed.isEmpty() && (trimmed.back().isDigit() || trimmed.back() == u'.');
    bool isNumber = false;
    const double number = canBe ? trimmed.toDouble(&isNumber) : 0.0;
    return isNumber && std::isfinite(number);
}

bool IsNumber(const QVariant& value, const QString& text)
{
    if (value.typeId() == QMetaType::QString) return SaysNumber(text);
    return value.typeId() != QMetaType::Double || std::isfinite(value.toDouble());
}

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
    m_Columns = QStringList({QStringLiteral("controller_name"), QStringLiteral("item_name"),
                             QStringLiteral("item_value"), QStringLiteral("item_time")});
    if (m_IsPartitioned)
        m_Columns += {QStringLiteral("value_number"), QStringLiteral("item_utc"), QStringLiteral("item_state")};
    m_Feed.emplace(Session(), m_IsPartitioned ? m_Names.Of(QStringLiteral("rows")) : Name());
    if (!m_IsPartitioned) return;
    m_Progress->WrittenAt = Microseconds(std::chrono::system_clock::now());
    m_Partitions.Refresh();
    m_Upkeep.emplace(destination, m_Progress);
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
        Log(LogLevel::Info,
            QStringLiteral("The history %1 cannot be kept in partitions here: %2").arg(Name(), error.Description()));
        return found == Layout::Kind::Partitioned;
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
    bool isFresh = false;
    for (const RecordedValue& value : values) {
        const QString& time = Spell(value.Time);
        if (m_Current.Holds(time)) continue;
        if (!std::exchange(isFresh, true)) m_Partitions.Refresh();
        if (!m_Partitions.At(time) && Clock::now() >= m_NextTry && time >= m_Partitions.ClosedUntil()) {
            try {
                const bool isWide = m_Progress->Rate < RateOfNarrow;
                m_Partitions.MakeOpen(time, isWide ? Partitions::Wide : Partitions::Narrow);
            } catch (const DatabaseError& error) {
                m_NextTry = Clock::now() + BetweenTries;
                Log(LogLevel::Debug, QStringLiteral("A partition is missing: ") + error.Description());
            }
        }
        const Partition* partition = m_Partitions.At(time);
        m_Current = partition ? *partition : Partition();
    }
}

void PostgresTable::Insert(std::span<const RecordedValue> values)
{
    QString target = m_IsPartitioned ? QString() : Name();
    for (const RecordedValue& value : values) {
        const QString& time = Spell(value.Time);
        if (m_IsPartitioned && !(m_Current.Holds(time) && !target.isEmpty())) {
            const QString next = TargetOf(time);
            if (next != target) Send(target);
            target = next;
            const Partition* partition = m_Partitions.At(time);
            m_Current = partition ? *partition : Partition();
        }
        AddRow(value, time);
    }
    Send(target);
    if (m_Count >= 0) m_Count += static_cast<qint64>(values.size());
    if (values.empty()) return;
    m_Progress->Time = Microseconds(values.back().Time);
    m_Progress->WrittenAt = Microseconds(std::chrono::system_clock::now());
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

/// What is closed is reached by the table of all, so that changes are noted.
QString PostgresTable::TargetOf(const QString& time) const
{
    const Partition* partition = m_Partitions.At(time);
    return partition && partition->IsOpen() ? m_Partitions.NameOf(*partition) : m_Names.Of(QStringLiteral("rows"));
}

void PostgresTable::AddRow(const RecordedValue& value, const QString& time)
{
    const QVariant sqlValue = ToSql(value.Value);
    const QString text = sqlValue.toString();
    m_Feed->Add(value.Controller);
    m_Feed->Add(value.Item);
    if (sqlValue.isNull()) m_Feed->AddNull();
    else m_Feed->Add(text);
    m_Feed->Add(time);
    if (m_IsPartitioned) {
        if (!sqlValue.isNull() && IsNumber(sqlValue, text)) m_Feed->Add(text.trimmed());
        else m_Feed->AddNull();
        m_Feed->Add(QString::number(Microseconds(value.Time)));
        m_Feed->Add(QString::number(value.State));
    }
    m_Feed->EndRow();
}

void PostgresTable::Send(const QString& target)
{
    if (!m_Feed->IsEmpty()) m_Feed->Send(target, m_Columns);
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
