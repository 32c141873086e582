#include "server/postgreshistory/PostgresTable.h"

#include "server/database/SqlValue.h"
#include "server/log/Log.h"

#include <QSqlDriver>
#include <QSqlField>

namespace {

/// The most rows in one statement: each statement is a round trip.
constexpr std::size_t RowsTogether = 500;

} // namespace

PostgresTable::PostgresTable(const HistoryDestination& destination)
    : HistoryTable(destination)
{
    if (!Exists())
        Session().Run(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (controller_name text, item_name text, "
                                     "item_value text, item_time timestamp)")
                          .arg(Name()));
    TeachAverage();
    if (!MakePositions())
        Log(LogLevel::Debug, QStringLiteral("The table velsql_positions is not available: values that are being "
                                            "written when a connection is lost may be written twice."));
}

/// Checked first, because a user who may not create tables is refused even with IF NOT EXISTS.
bool PostgresTable::Exists() const
{
    const QString name = QString(Name()).replace(u'\'', QStringLiteral("''"));
    return !Session().Ask(QStringLiteral("SELECT to_regclass('%1')").arg(name)).isNull();
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

void PostgresTable::Insert(std::span<const RecordedValue> values)
{
    for (std::size_t first = 0; first < values.size(); first += RowsTogether) {
        QStringList rows;
        for (const RecordedValue& value : values.subspan(first, std::min(RowsTogether, values.size() - first)))
            rows.append(RowText(value));
        Session().Run(QStringLiteral("INSERT INTO %1 VALUES %2").arg(Name(), rows.join(u',')));
    }
    if (m_Count >= 0) m_Count += static_cast<qint64>(values.size());
}

void PostgresTable::Trim()
{
    const qint32 maxRecord = Destination().MaxRecord;
    if (maxRecord <= 0) return;
    if (m_Count < 0) m_Count = Session().Ask(QStringLiteral("SELECT count(*) FROM %1").arg(Name())).toLongLong();
    if (m_Count <= maxRecord) return;
    Session().Run(
        QStringLiteral("DELETE FROM %1 WHERE ctid = ANY (ARRAY (SELECT ctid FROM %1 ORDER BY item_time LIMIT %2))")
            .arg(Name())
            .arg(m_Count - maxRecord));
    m_Count = maxRecord;
}

QString PostgresTable::RowText(const RecordedValue& value)
{
    return QStringLiteral("(%1,%2,%3,%4)")
        .arg(Literal(value.Controller), Literal(value.Item), Literal(ToSql(value.Value)), Literal(Spell(value.Time)));
}

QString PostgresTable::Literal(const QVariant& value) const
{
    if (value.isNull()) return QStringLiteral("NULL");
    QSqlField field(QString(), QMetaType(QMetaType::QString));
    QString text = value.toString();
    field.setValue(text.replace(QChar(u'\0'), QChar(0xFFFD))); // PostgreSQL cannot store NUL
    return Session().Database().driver()->formatValue(field);
}
