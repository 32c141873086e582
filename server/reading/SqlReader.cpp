#include "server/reading/SqlReader.h"

#include "server/database/HistoryTable.h"
#include "server/postgreshistory/LayoutNames.h"

#include <QTimeZone>

#include <array>

namespace {

/// Of a history that has not begun yet: a server makes its table while it begins to serve.
const QString s_Nothing = QStringLiteral(
    "(SELECT '' AS controller_name, '' AS item_name, '' AS item_value, 0 AS item_state, 0 AS value_number, "
    "0 AS item_utc WHERE 1 = 0) AS no_history");
/// The times of a table without them: of local time that comes twice nobody knows which one it was.
const QString s_Flat =
    QStringLiteral("(SELECT controller_name, item_name, item_value, 0 AS item_state, "
                   "CASE WHEN item_value ~ '^\\s*[-+]{0,1}(\\d+\\.{0,1}\\d*|\\.\\d+)([eE][-+]{0,1}\\d+){0,1}\\s*$' "
                   "THEN item_value::float8 END "
                   "AS value_number, "
                   "(extract(epoch FROM item_time AT TIME ZONE '%2') * 1000000)::bigint AS item_utc FROM %1) AS flat");

const QString s_Readings = QStringLiteral(
    "SELECT item_utc, item_state, value_number, CASE WHEN value_number IS NULL THEN item_value END FROM %1");
const QString s_OfItem =
    QStringLiteral(" WHERE controller_name = ? AND item_name = ? AND item_utc >= ? AND item_utc < ?");
// The database uses its indexes for the order of one table, but not of the view: there it would sort all values of the
// item for each page.
const QString s_Halves =
    QStringLiteral("((SELECT * FROM (SELECT item_utc, item_state, value_number, item_value, controller_name, item_name "
                   "FROM {rows}) AS timed %1) UNION ALL (SELECT * FROM (SELECT {utc}(item_time) AS item_utc, 0 AS "
                   "item_state, {number}(item_value) AS value_number, item_value, controller_name, item_name FROM "
                   "{rows_other} WHERE item_utc IS NULL) AS untimed %1)) AS halves");

const QString s_InRange =
    QStringLiteral("WHERE controller_name = ? AND item_name = ? AND start_utc >= ? AND start_utc < ?");
const QString s_GridBlocks =
    QStringLiteral("SELECT start_utc, value_count, number_count, smallest, largest, mean_value * number_count, "
                   "first_value, last_value, worst_state FROM %1 %2 AND grid_origin = %3 AND grid_length = %4 "
                   "ORDER BY start_utc");
// The first of several values is the second element of the smallest pair: sorting them would take twice as long.
const QString s_SummedBlocks = QStringLiteral(
    "SELECT min(start_utc), sum(value_count::float8)::bigint, sum(number_count::float8)::bigint, min(smallest), "
    "max(largest), sum(mean_value * number_count), "
    "(min(ARRAY[start_utc, first_value]) FILTER (WHERE number_count > 0))[2], "
    "(max(ARRAY[start_utc, last_value]) FILTER (WHERE number_count > 0))[2], "
    "CASE WHEN bool_or(worst_state = 1) THEN 1 ELSE max(worst_state) END FROM %1 %2 "
    "GROUP BY (start_utc - (%3)) / %4 ORDER BY 1");

Variant CellOf(const SqlCursor& row, int column)
{
    return row.IsNull(column) ? Variant(Null{}) : Variant(row.Text(column));
}

Variant NumberOf(const SqlCursor& row, int column)
{
    return row.IsNull(column) ? Variant(Null{}) : Variant(row.Number(column));
}

} // namespace

SqlReader::SqlReader(const DatabaseSession& session, const QString& table)
    : m_Session(session)
    , m_IsSqlite(session.SqliteHandle() != nullptr)
    , m_Table(table)
    , m_Values(m_IsSqlite || HasColumn(RelationOf(Level::Values), QStringLiteral("item_utc"))
                   ? RelationOf(Level::Values)
                   : FlatValues())
    , m_Halves(m_IsSqlite ? QString() : Halves())
    , m_HasBlocks(m_IsSqlite || HasColumn(RelationOf(Level::Minutes), QStringLiteral("number_count")))
{
}

/// In PostgreSQL what belongs to another table than velsql_history begins with that one's name.
QString SqlReader::RelationOf(Level level) const
{
    static const std::array<QStringView, 4> parts = {u"_values", u"_minutes", u"_hours", u"_days"};
    const bool isUsual = m_IsSqlite || m_Table.section(u'.', -1) == u"velsql_history";
    const QString schema = m_Table.contains(u'.') && !m_IsSqlite ? m_Table.section(u'.', 0, -2) + u'.' : QString();
    const QString stem = isUsual ? QStringLiteral("velsql") : m_Table.section(u'.', -1);
    return QuotedName(schema + stem + parts[static_cast<std::size_t>(level)].toString());
}

bool SqlReader::HasColumn(const QString& relation, const QString& column) const
{
    const QString question =
        QStringLiteral("SELECT 1 FROM pg_attribute WHERE attrelid = to_regclass(?) AND attname = ?");
    return SqlCursor::Open(m_Session, question, {relation, column})->Next();
}

QString SqlReader::FlatValues() const
{
    const QString table = QuotedName(m_Table);
    if (!HasColumn(table, QStringLiteral("item_time"))) return s_Nothing;
    const QByteArray zone = QTimeZone::systemTimeZoneId();
    return s_Flat.arg(table, zone.isEmpty() ? QStringLiteral("UTC") : QString::fromLatin1(zone));
}

void SqlReader::ReadValues(const ItemPath& item, const TimeRange& range, bool newestFirst, qint64 atMost,
                           const Taker<Reading>& take)
{
    const QString order =
        QStringLiteral(" ORDER BY item_utc%1%2")
            .arg(newestFirst ? QStringLiteral(" DESC") : QString(), atMost > 0 ? Page(atMost) : QString());
    QVariantList arguments = {item.Controller, item.Item, range.From, range.To};
    QString source = m_Values + s_OfItem + order;
    if (atMost > 0 && !m_Halves.isEmpty()) {
        source = m_Halves.arg(s_OfItem + order) + order;
        arguments += arguments;
    }
    const auto row = SqlCursor::Open(m_Session, s_Readings.arg(source), arguments);
    while (row->Next()) {
        Reading reading{row->Integer(0), NumberOf(*row, 2), static_cast<qint32>(row->Integer(1))};
        if (reading.Value.IsNull()) reading.Value = CellOf(*row, 3);
        if (!take(reading)) return;
    }
}

/// PostgreSQL gives values of one time in any order, each time another one: whoever reads on behind a page would miss
/// some and have others twice.
QString SqlReader::Page(qint64 atMost) const
{
    const QString limit = QStringLiteral(" LIMIT %1").arg(atMost);
    return m_IsSqlite ? limit : QStringLiteral(", item_value COLLATE \"C\", item_state") + limit;
}

/// What velsql_values is made of, with room for what is asked of either half; empty where that cannot be read.
QString SqlReader::Halves() const
{
    const LayoutNames names(m_Table);
    const QString isThere = QStringLiteral("SELECT 1 WHERE has_table_privilege(to_regclass(?), 'SELECT') AND "
                                           "has_table_privilege(to_regclass(?), 'SELECT')");
    const QVariantList parts = {names.Of(QStringLiteral("rows")), names.Of(QStringLiteral("rows_other"))};
    if (!HasColumn(RelationOf(Level::Values), QStringLiteral("item_utc"))) return {};
    return SqlCursor::Open(m_Session, isThere, parts)->Next() ? names.Fill(s_Halves) : QString();
}

std::vector<Summary> SqlReader::ReadBlocks(const ItemPath& item, Level level, const TimeRange& range, const Grid& grid)
{
    // Rows cost more to fetch than to add up where they come from.
    const QString question = (m_IsSqlite ? s_GridBlocks : s_SummedBlocks)
                                 .arg(RelationOf(level), s_InRange)
                                 .arg(grid.Origin)
                                 .arg(grid.Length);
    const auto row = SqlCursor::Open(m_Session, question, {item.Controller, item.Item, range.From, range.To});
    std::vector<Summary> blocks;
    while (row->Next())
        blocks.push_back({.Start = row->Integer(0),
                          .Rows = row->Integer(1),
                          .Numbers = row->Integer(2),
                          .Smallest = row->Number(3),
                          .Largest = row->Number(4),
                          .Sum = row->Number(5),
                          .First = row->Number(6),
                          .Last = row->Number(7),
                          .FirstUtc = 0, // of no use here
                          .LastUtc = 0,
                          .WorstState = row->Integer(8)});
    return blocks;
}
