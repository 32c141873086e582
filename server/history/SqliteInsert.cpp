#include "server/history/SqliteInsert.h"

#include <kj/common.h>
#include <QSqlDriver>

#include <sqlite3.h>

namespace {

sqlite3* HandleOf(const DatabaseSession& session)
{
    const QVariant handle = session.Database().driver()->handle();
    if (handle.isValid()) return *static_cast<sqlite3* const*>(handle.constData());
    throw DescribedError(QStringLiteral("The SQLite driver does not give its database away."));
}

} // namespace

SqliteInsert::SqliteInsert(const DatabaseSession& session, const QString& table)
    : m_Database(HandleOf(session))
{
    const QByteArray statement = QStringLiteral("INSERT INTO %1 VALUES (?, ?, ?, ?)").arg(table).toUtf8();
    Check(sqlite3_prepare_v2(m_Database, statement.constData(), -1, &m_Statement, nullptr));
}

SqliteInsert::~SqliteInsert()
{
    sqlite3_finalize(m_Statement);
}

void SqliteInsert::Run(const QString& controller, const QString& item, const QVariant& value, const QString& time)
{
    BindText(1, controller);
    BindText(2, item);
    Bind(3, value);
    BindText(4, time);
    const auto reset = kj::defer([this] { sqlite3_reset(m_Statement); });
    const int result = sqlite3_step(m_Statement);
    if (result != SQLITE_DONE) Check(result);
}

void SqliteInsert::Check(int result) const
{
    if (result == SQLITE_OK) return;
    throw DatabaseError(QSqlError(QString(), QString::fromUtf8(sqlite3_errmsg(m_Database)), QSqlError::StatementError,
                                  QString::number(result)));
}

void SqliteInsert::BindText(int column, const QString& text)
{
    // The text outlives the step, which comes right after.
    Check(sqlite3_bind_text16(m_Statement, column, text.utf16(), static_cast<int>(text.size() * 2), SQLITE_STATIC));
}

void SqliteInsert::Bind(int column, const QVariant& value)
{
    if (value.isNull()) return Check(sqlite3_bind_null(m_Statement, column));
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong: return Check(sqlite3_bind_int64(m_Statement, column, value.toLongLong()));
    case QMetaType::Double: return Check(sqlite3_bind_double(m_Statement, column, value.toDouble()));
    default: return BindText(column, *static_cast<const QString*>(value.constData()));
    }
}
