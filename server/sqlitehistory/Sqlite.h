#pragma once

#include "server/database/Database.h"
#include "server/sqlitehistory/RowBlock.h"

#include <QByteArrayView>

struct sqlite3;
struct sqlite3_stmt;

/// SQLite refused something; `Code` is its extended result code.
class SqliteError : public DatabaseError
{
public:
    SqliteError(int code, const QString& text);

    int Code() const { return m_Code; }
    /// The file's content cannot be what SQLite or this program has written.
    bool IsDamage() const;
    /// The disk was full, or another program had locked the file.
    bool IsOfTheMoment() const;
    /// It does not even begin as a file of SQLite.
    bool IsForeign() const;

private:
    int m_Code;
};

/// A connection of SQLite's own library, to be used by the thread that made it: Qt's costs more than what it carries.
class SqliteConnection
{
public:
    enum class Access
    {
        Existing, ///< reading and writing, if the file lets it
        Reading,  ///< the same, or only reading where nothing can be written beside it, such as on a full disk
        Create    ///< also makes the file when it is missing, for this user only
    };

    /// Throws SqliteError.
    SqliteConnection(const QString& path, Access access);
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;
    ~SqliteConnection();

    sqlite3* Handle() const { return m_Handle; }
    /// Runs statements without a result. Throws SqliteError.
    void Run(const QByteArray& statements) const;
    /// The first number of the first row; 0 when there is none. Throws SqliteError.
    qint64 Ask(const QByteArray& question) const;
    /// Whether the file has been deleted, or another one stands in its place.
    bool HasMoved() const;
    /// Whether it has no name any more, so that what is written into it is lost.
    bool IsDeleted() const;
    /// Throws SqliteError unless `result` is SQLITE_OK.
    void Check(int result) const;

private:
    void Open(const QByteArray& name, int flags);
    bool CanBeRead() const;

    sqlite3* m_Handle = nullptr;
    int m_File = -1; ///< only to look at: closing it leaves SQLite's locks alone
};

/// A prepared statement. It may be moved but must not outlive its connection. Columns count from 0, parameters from 1.
class SqliteStatement
{
public:
    /// Throws SqliteError.
    SqliteStatement(const SqliteConnection& connection, const char* text);
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement();

    /// Bound texts and bytes must live until the statement has ended.
    SqliteStatement& Bind(int parameter, qint64 number);
    SqliteStatement& Bind(int parameter, double number);
    SqliteStatement& BindText(int parameter, QByteArrayView text);
    SqliteStatement& BindBytes(int parameter, QByteArrayView bytes);
    /// Whether there is a row; at the end the statement is ready for the next use. Throws SqliteError.
    bool Step();
    /// For a statement without rows.
    void Run();
    void Reset();

    qint64 Integer(int column) const;
    double Real(int column) const;
    bool IsNull(int column) const;
    /// Valid until the next step.
    QByteArrayView Bytes(int column) const;
    SqlCell Cell(int column) const;

private:
    const SqliteConnection& m_Connection;
    sqlite3_stmt* m_Statement = nullptr;
};

/// Everything between Begin and Commit, or nothing.
class SqliteTransaction
{
public:
    /// Waits for another writer, at most five seconds. Throws SqliteError.
    explicit SqliteTransaction(const SqliteConnection& connection);
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    ~SqliteTransaction();

    /// Throws SqliteError.
    void Commit();

private:
    const SqliteConnection& m_Connection;
    bool m_IsOpen = true;
};
