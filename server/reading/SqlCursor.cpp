#include "server/reading/SqlCursor.h"

#include <QSqlDriver>
#include <QSqlField>
#include <QSqlQuery>

#include <sqlite3.h>

namespace {

class SqliteCursor final : public SqlCursor
{
public:
    SqliteCursor(sqlite3* database, const QString& question, const QVariantList& arguments)
        : m_Database(database)
    {
        const QByteArray text = question.toUtf8();
        if (sqlite3_prepare_v2(database, text.constData(), -1, &m_Rows, nullptr) != SQLITE_OK) Throw();
        for (int i = 0; i < arguments.size(); ++i) Bind(i + 1, arguments[i]);
    }
    SqliteCursor(const SqliteCursor&) = delete;
    SqliteCursor& operator=(const SqliteCursor&) = delete;
    ~SqliteCursor() override { sqlite3_finalize(m_Rows); }

    bool Next() override
    {
        const int result = sqlite3_step(m_Rows);
        if (result != SQLITE_ROW && result != SQLITE_DONE) Throw();
        return result == SQLITE_ROW;
    }
    bool IsNull(int column) const override { return sqlite3_column_type(m_Rows, column) == SQLITE_NULL; }
    qint64 Integer(int column) const override { return sqlite3_column_int64(m_Rows, column); }
    double Number(int column) const override { return sqlite3_column_double(m_Rows, column); }
    QString Text(int column) const override
    {
        const void* text = sqlite3_column_text16(m_Rows, column);
        return QString(static_cast<const QChar*>(text), sqlite3_column_bytes16(m_Rows, column) / 2);
    }

private:
    void Bind(int place, const QVariant& argument)
    {
        const QByteArray text = argument.toString().toUtf8();
        const int result =
            argument.typeId() == QMetaType::QString
                ? sqlite3_bind_text(m_Rows, place, text.constData(), static_cast<int>(text.size()), SQLITE_TRANSIENT)
                : sqlite3_bind_int64(m_Rows, place, argument.toLongLong());
        if (result == SQLITE_OK) return;
        sqlite3_finalize(m_Rows);
        Throw();
    }
    [[noreturn]] void Throw() const
    {
        throw DatabaseError(QSqlError(QString(), QString::fromUtf8(sqlite3_errmsg(m_Database)),
                                      QSqlError::StatementError,
                                      QString::number(sqlite3_extended_errcode(m_Database))));
    }

    sqlite3* const m_Database;
    sqlite3_stmt* m_Rows = nullptr;
};

class QueryCursor final : public SqlCursor
{
public:
    QueryCursor(const QSqlDatabase& database, const QString& question, const QVariantList& arguments)
        : m_Query(database)
    {
        m_Query.setForwardOnly(true);
        if (!m_Query.exec(Filled(*database.driver(), question, arguments))) throw DatabaseError(m_Query.lastError());
    }

    bool Next() override
    {
        const bool isThere = m_Query.next();
        if (!isThere && m_Query.lastError().isValid()) throw DatabaseError(m_Query.lastError());
        return isThere;
    }
    bool IsNull(int column) const override { return m_Query.isNull(column); }
    qint64 Integer(int column) const override { return m_Query.value(column).toLongLong(); }
    double Number(int column) const override { return m_Query.value(column).toDouble(); }
    QString Text(int column) const override { return m_Query.value(column).toString(); }

private:
    /// A prepared statement would take three messages to the database instead of one.
    static QString Filled(const QSqlDriver& driver, const QString& question, const QVariantList& arguments)
    {
        QStringList parts = question.split(u'?');
        for (qsizetype i = 0; i < arguments.size(); ++i) {
            QSqlField field(QString(), arguments[i].metaType());
            field.setValue(arguments[i]);
            parts[i] += driver.formatValue(field);
        }
        return parts.join(QString());
    }

    QSqlQuery m_Query;
};

} // namespace

std::unique_ptr<SqlCursor> SqlCursor::Open(const DatabaseSession& session, const QString& question,
                                           const QVariantList& arguments)
{
    if (sqlite3* const database = session.SqliteHandle())
        return std::make_unique<SqliteCursor>(database, question, arguments);
    return std::make_unique<QueryCursor>(session.Database(), question, arguments);
}
