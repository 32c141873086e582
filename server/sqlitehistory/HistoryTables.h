#pragma once

#include <QStringList>

struct sqlite3;

/// Lets statements on a connection to `database` read and change the history's table `table`, and read the tables with
/// more columns and the summaries. None of them is kept in the file: other programs see only the partitions.
class HistoryTables
{
public:
    /// For one statement. To be destroyed before the connection is closed.
    HistoryTables(sqlite3* connection, const QString& database, const QString& table, QString statement);
    HistoryTables(const HistoryTables&) = delete;
    HistoryTables& operator=(const HistoryTables&) = delete;
    ~HistoryTables();

    /// Why a statement was refused that would have hidden one of these tables; otherwise empty.
    const QString& Refusal() const { return m_Refusal; }

private:
    static int Authorize(void* self, int action, const char* name, const char* altered, const char*, const char*);
    bool IsOwn(const char* name) const;
    /// One of the names that the statement holds as a word; empty when it holds none.
    QString NameInStatement() const;

    sqlite3* const m_Connection;
    const QString m_Statement;
    QStringList m_Names;
    QString m_Refusal;
};
