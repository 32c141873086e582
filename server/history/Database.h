#pragma once

#include <QMap>
#include <QSqlDatabase>

/// Where a database is and how to reach it, as a connection string "Key=Value;Key=Value" says.
class DatabaseAddress
{
public:
    /// Keys are read whatever their case: Driver (SQLite or PostgreSQL), Database, Server, Port, Uid, Pwd and their usual
    /// other names; values may stand in quotes or braces. Throws DescribedError for what is no such string.
    explicit DatabaseAddress(const QString& connectionString);

    bool IsPostgreSql() const { return m_Driver == QStringLiteral("QPSQL"); }
    /// File path or name of the database.
    const QString& Database() const { return m_Database; }
    /// The connection string with the password hidden.
    QString Shown() const;

private:
    friend class DatabaseSession;

    QString m_Text;
    QString m_Driver;
    QString m_Database;
    QString m_Server;
    int m_Port = -1;
    QString m_User;
    QString m_Password;
};

/// An open connection to a database, for the thread that made it.
class DatabaseSession
{
public:
    /// Throws DescribedError when the database cannot be opened.
    explicit DatabaseSession(const DatabaseAddress& address);
    DatabaseSession(const DatabaseSession&) = delete;
    DatabaseSession& operator=(const DatabaseSession&) = delete;
    ~DatabaseSession();

    QSqlDatabase Database() const { return QSqlDatabase::database(m_Name, false); }
    /// Runs a statement without a result. Throws DescribedError.
    void Run(const QString& statement) const;

private:
    void Configure(QSqlDatabase& database, const DatabaseAddress& address) const;

    QString m_Name;
};

/// The database's own words for what went wrong.
QString Describe(const class QSqlError& error);
