#include "server/history/SqliteTable.h"

#include "server/database/SqlValue.h"

#include <kj/common.h>
#include <QFile>

#include <sqlite3.h>

SqliteTable::SqliteTable(const HistoryDestination& destination)
    : HistoryTable(destination)
    , m_Path(DatabaseAddress(destination.ConnectionString).Database())
    , m_Database(Session().SqliteHandle())
{
    if (!m_Database) throw DescribedError(QStringLiteral("The SQLite driver does not provide its database handle."));
    Session().Run(QStringLiteral("PRAGMA journal_mode = WAL"));
    Session().Run(QStringLiteral("PRAGMA synchronous = ") +
                  (destination.Surviving == Durability::Power ? QStringLiteral("FULL") : QStringLiteral("NORMAL")));
    Session().Run(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (controller_name TEXT, item_name TEXT, "
                                 "item_value NUMERIC, item_time TEXT)")
                      .arg(Name()));
    if (!MakePositions()) Session().Run(QStringLiteral("SELECT sequence FROM velsql_positions")); // says why
}

SqliteTable::~SqliteTable()
{
    sqlite3_finalize(m_Insert);
}

bool SqliteTable::IsGone() const
{
    return !QFile::exists(m_Path);
}

void SqliteTable::Insert(std::span<const RecordedValue> values)
{
    const QByteArray statement = QStringLiteral("INSERT INTO %1 VALUES (?, ?, ?, ?)").arg(Name()).toUtf8();
    if (!m_Insert) Check(sqlite3_prepare_v2(m_Database, statement.constData(), -1, &m_Insert, nullptr));
    for (const RecordedValue& value : values) {
        const QVariant sqlValue = ToSql(value.Value); // the bound value must outlive the step
        Bind(1, value.Controller);
        Bind(2, value.Item);
        Bind(3, sqlValue);
        Bind(4, Spell(value.Time));
        const int result = sqlite3_step(m_Insert);
        const auto reset = kj::defer([this] { sqlite3_reset(m_Insert); });
        if (result != SQLITE_DONE) Check(result);
    }
}

void SqliteTable::Trim()
{
    if (Destination().MaxRecord <= 0) return;
    // Rows are numbered in order, so they need not be counted.
    Session().Run(QStringLiteral("DELETE FROM %1 WHERE rowid <= (SELECT max(rowid) FROM %1) - %2")
                      .arg(Name())
                      .arg(Destination().MaxRecord));
}

void SqliteTable::Check(int result) const
{
    if (result == SQLITE_OK) return;
    throw DatabaseError(QSqlError(QString(), QString::fromUtf8(sqlite3_errmsg(m_Database)), QSqlError::StatementError,
                                  QString::number(result)));
}

void SqliteTable::Bind(int column, const QString& text)
{
    Check(sqlite3_bind_text16(m_Insert, column, text.utf16(), static_cast<int>(text.size() * 2), SQLITE_STATIC));
}

void SqliteTable::Bind(int column, const QVariant& value)
{
    if (value.isNull()) return Check(sqlite3_bind_null(m_Insert, column));
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong: return Check(sqlite3_bind_int64(m_Insert, column, value.toLongLong()));
    case QMetaType::Double: return Check(sqlite3_bind_double(m_Insert, column, value.toDouble()));
    default: return Bind(column, *static_cast<const QString*>(value.constData()));
    }
}
