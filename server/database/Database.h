#pragma once

#include "core/automation/Errors.h"

#include <QMap>
#include <QSqlDatabase>
#include <QSqlError>
#include <QVariant>

struct sqlite3;

/// Which database to use and how to reach it, from a connection string "Key=Value;Key=Value".
class DatabaseAddress
{
public:
    /// Keys are case-insensitive: Driver (SQLite or PostgreSQL), Database, Server, Port, Uid, Pwd and their usual
    /// synonyms, and PostgreSQL's sslmode with its companions and passfile; values may be in quotes or braces. Throws
    /// DescribedError for any other string.
    explicit DatabaseAddress(const QString& connectionString);

    bool IsPostgreSql() const { return m_Driver == QStringLiteral("QPSQL"); }
    /// File path or name of the database.
    const QString& Database() const { return m_Database; }
    /// Which database it is, whoever reaches it by which words.
    QString Place() const;
    /// The connection string with the password hidden.
    const QString& Shown() const { return m_Shown; }

private:
    friend class DatabaseSession;

    QString m_Shown;
    QString m_Driver;
    QString m_Database;
    QString m_Server;
    int m_Port = -1;
    QString m_User;
    QString m_Password;
    QString m_UnsafeFile; ///< of passwords, which is not used
    QString m_Options;    ///< for PostgreSQL's library
};

/// A database refused something.
class DatabaseError : public DescribedError
{
public:
    explicit DatabaseError(const QSqlError& error);

    /// It refused this value itself and would always do so; other failures may pass.
    bool IsAboutTheValue() const { return m_IsAboutTheValue; }

private:
    bool m_IsAboutTheValue;
};

/// The handle of SQLite's own library; null for other databases or when the driver does not provide it.
sqlite3* SqliteHandleOf(const QSqlDriver& driver);

/// An open connection to a database, to be used by the thread that made it.
class DatabaseSession
{
public:
    /// Creates the folder of an SQLite file. Throws DescribedError when the database cannot be opened.
    explicit DatabaseSession(const DatabaseAddress& address);
    DatabaseSession(const DatabaseSession&) = delete;
    DatabaseSession& operator=(const DatabaseSession&) = delete;
    ~DatabaseSession();

    QSqlDatabase Database() const { return QSqlDatabase::database(m_Name, false); }
    /// See SqliteHandleOf.
    sqlite3* SqliteHandle() const;
    /// Runs a statement without a result. Throws DatabaseError.
    void Run(const QString& statement) const;
    /// The first value of the first row; empty when there are no rows. Throws DatabaseError.
    QVariant Ask(const QString& question) const;

private:
    void Configure(QSqlDatabase& database, const DatabaseAddress& address) const;

    QString m_Name;
};

/// The database's own words for what went wrong.
QString Describe(const QSqlError& error);
