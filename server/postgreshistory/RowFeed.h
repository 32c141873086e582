#pragma once

#include "server/database/Database.h"

struct pg_conn;

/// Brings rows into a table, by the quickest way that the server proves to support.
class RowFeed
{
public:
    enum class Way
    {
        Copy,
        Arrays, ///< one array for each column
        Values
    };

    /// Asks the server, with statements that add no rows to `table`.
    RowFeed(const DatabaseSession& session, const QString& table);

    Way How() const { return m_Way; }

    /// A row is begun and filled, column by column.
    void Add(QStringView text);
    void AddNull();
    void EndRow();
    bool IsEmpty() const { return m_Rows == 0; }
    /// Brings the rows into a table of these columns. Throws DatabaseError; the rows are forgotten in any case.
    void Send(const QString& table, const QStringList& columns);

private:
    void Copy(const QString& statement);
    QString ArrayStatement(const QString& table, const QStringList& columns) const;
    QString ValuesStatement(const QString& table, const QStringList& columns) const;
    void AddEscaped(QStringView text);

    const DatabaseSession& m_Session;
    Way m_Way = Way::Copy;
    int m_Rows = 0;
    int m_Column = 0;
    QByteArray m_Text;            ///< Copy: the rows as they are sent
    QList<QStringList> m_Columns; ///< other ways: the literals of each column
};

/// The connection as PostgreSQL's own library knows it; null when the driver does not provide it.
pg_conn* LibraryConnection(const DatabaseSession& session);
