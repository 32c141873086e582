#pragma once

#include "server/history/Database.h"

struct sqlite3;
struct sqlite3_stmt;

/// The history's insert into an SQLite table, by the database's own library: Qt's query costs more than the insert itself.
class SqliteInsert
{
public:
    /// `table` is a quoted name; the session must outlive this object. Throws DescribedError.
    SqliteInsert(const DatabaseSession& session, const QString& table);
    SqliteInsert(const SqliteInsert&) = delete;
    SqliteInsert& operator=(const SqliteInsert&) = delete;
    ~SqliteInsert();

    /// Adds a row. Throws DatabaseError.
    void Run(const QString& controller, const QString& item, const QVariant& value, const QString& time);

private:
    void Check(int result) const;
    void BindText(int column, const QString& text);
    void Bind(int column, const QVariant& value);

    sqlite3* m_Database;
    sqlite3_stmt* m_Statement = nullptr;
};
