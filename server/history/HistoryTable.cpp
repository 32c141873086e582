#include "server/history/HistoryTable.h"

#include "server/history/SqlValue.h"
#include "server/log/Log.h"

#include <QDateTime>
#include <QSqlDriver>
#include <QSqlField>

namespace {

/// Rows that go to PostgreSQL in one statement: each statement is a round trip.
constexpr std::size_t RowsTogether = 500;

QString QuotedName(const QString& name)
{
    QStringList parts = name.split(u'.');
    for (QString& part : parts) part = u'"' + part.replace(u'"', QStringLiteral("\"\"")) + u'"';
    return parts.join(u'.');
}

/// Local time with microseconds. A scan's values share their time: it is spelled once.
class TimeSpeller
{
public:
    const QString& Spell(TimeStamp time)
    {
        if (time == m_Time && !m_Text.isEmpty()) return m_Text;
        const auto second = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
        if (second != m_Second || m_Text.isEmpty())
            m_SecondText = QDateTime::fromSecsSinceEpoch(second).toString(u"yyyy-MM-dd hh:mm:ss");
        m_Second = second;
        m_Time = time;
        m_Text = m_SecondText + u'.' + QString::number(MicrosecondsOf(time)).rightJustified(6, u'0');
        return m_Text;
    }

private:
    TimeStamp m_Time;
    qint64 m_Second = 0;
    QString m_SecondText;
    QString m_Text;
};

} // namespace

HistoryTable::HistoryTable(const DatabaseSession& session, bool isPostgreSql, const QString& name)
    : m_Session(session)
    , m_IsPostgreSql(isPostgreSql)
    , m_Name(QuotedName(name))
{
}

void HistoryTable::Create()
{
    const QString columns =
        m_IsPostgreSql ? QStringLiteral("controller_name text, item_name text, item_value text, item_time timestamp")
                       : QStringLiteral("controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT");
    if (!m_IsPostgreSql) {
        m_Session.Run(QStringLiteral("PRAGMA journal_mode = WAL"));
        m_Session.Run(QStringLiteral("PRAGMA synchronous = NORMAL"));
    }
    if (!Exists()) m_Session.Run(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (%2)").arg(m_Name, columns));
    if (m_IsPostgreSql) TeachAverage();
}

bool HistoryTable::Exists() const
{
    if (!m_IsPostgreSql) return false; // there it is no matter of rights
    // A user who may not create tables is refused by IF NOT EXISTS, too.
    QString name = m_Name;
    return !m_Session.Ask(QStringLiteral("SELECT to_regclass('%1')").arg(name.replace(u'\'', QStringLiteral("''"))))
                .isNull();
}

void HistoryTable::TeachAverage()
{
    // A server may forbid it; then an average of texts fails with the database's own words.
    try {
        m_Session.Run(QStringLiteral("CREATE OR REPLACE FUNCTION velsql_add_number(float8[], text) RETURNS float8[] "
                                     "LANGUAGE sql IMMUTABLE AS $$ "
                                     "SELECT CASE WHEN $2 ~ '^\\s*[-+]?(\\d+\\.?\\d*|\\.\\d+)([eE][-+]?\\d+)?\\s*$' "
                                     "THEN ARRAY[$1[1] + $2::float8, $1[2] + 1] ELSE $1 END $$"));
        m_Session.Run(QStringLiteral(
            "CREATE OR REPLACE FUNCTION velsql_mean(float8[]) RETURNS float8 LANGUAGE sql IMMUTABLE AS $$ "
            "SELECT CASE WHEN $1[2] > 0 THEN $1[1] / $1[2] END $$"));
        m_Session.Run(
            QStringLiteral("CREATE OR REPLACE AGGREGATE avg(text) (SFUNC = velsql_add_number, STYPE = float8[], "
                           "FINALFUNC = velsql_mean, INITCOND = '{0,0}')"));
    } catch (const DatabaseError& error) {
        Log(LogLevel::Debug, QStringLiteral("The average of texts is not available: ") + error.Description());
    }
}

void HistoryTable::Write(std::span<const RecordedValue> values, qint32 maxRecord)
{
    QSqlDatabase database = m_Session.Database();
    if (!database.transaction()) throw DatabaseError(database.lastError());
    try {
        Insert(values);
        Trim(maxRecord);
        if (!database.commit()) throw DatabaseError(database.lastError());
    } catch (...) {
        m_Count = -1;
        if (database.isOpen()) database.rollback(); // of a lost connection Qt would complain past the log
        throw;
    }
}

void HistoryTable::Insert(std::span<const RecordedValue> values)
{
    if (m_IsPostgreSql) InsertTogether(values);
    else InsertOneByOne(values);
}

void HistoryTable::InsertOneByOne(std::span<const RecordedValue> values)
{
    TimeSpeller times;
    if (!m_Insert) m_Insert.emplace(m_Session, m_Name);
    for (const RecordedValue& value : values)
        m_Insert->Run(value.Controller, value.Item, ToSql(value.Value), times.Spell(value.Time));
}

void HistoryTable::InsertTogether(std::span<const RecordedValue> values)
{
    TimeSpeller times;
    for (std::size_t first = 0; first < values.size(); first += RowsTogether) {
        QStringList rows;
        for (const RecordedValue& value : values.subspan(first, std::min(RowsTogether, values.size() - first)))
            rows.append(QStringLiteral("(%1,%2,%3,%4)")
                            .arg(Literal(value.Controller), Literal(value.Item), Literal(ToSql(value.Value)),
                                 Literal(times.Spell(value.Time))));
        m_Session.Run(QStringLiteral("INSERT INTO %1 VALUES %2").arg(m_Name, rows.join(u',')));
    }
    if (m_Count >= 0) m_Count += static_cast<qint64>(values.size());
}

void HistoryTable::Trim(qint32 maxRecord)
{
    if (maxRecord <= 0) return;
    if (!m_IsPostgreSql) {
        // Rows are numbered as they come: no need to count them.
        m_Session.Run(QStringLiteral("DELETE FROM %1 WHERE rowid <= (SELECT max(rowid) FROM %1) - %2")
                          .arg(m_Name)
                          .arg(maxRecord));
        return;
    }
    if (m_Count < 0) m_Count = m_Session.Ask(QStringLiteral("SELECT count(*) FROM %1").arg(m_Name)).toLongLong();
    if (m_Count <= maxRecord) return;
    m_Session.Run(
        QStringLiteral("DELETE FROM %1 WHERE ctid = ANY (ARRAY (SELECT ctid FROM %1 ORDER BY item_time LIMIT %2))")
            .arg(m_Name)
            .arg(m_Count - maxRecord));
    m_Count = maxRecord;
}

QString HistoryTable::Literal(const QVariant& value) const
{
    if (value.isNull()) return QStringLiteral("NULL");
    QSqlField field(QString(), QMetaType(QMetaType::QString));
    QString text = value.toString();
    field.setValue(text.replace(QChar(u'\0'), QChar(0xFFFD))); // PostgreSQL keeps no NUL
    return m_Session.Database().driver()->formatValue(field);
}
