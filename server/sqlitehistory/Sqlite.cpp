#include "server/sqlitehistory/Sqlite.h"

#include "server/database/PrivateFile.h"

#include <QFileInfo>
#include <QUrl>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int LongestWaitForOthers = 5000; // milliseconds

/// Why a file cannot be opened for writing, or none made beside it; 0 when it can.
int Obstacle(const QByteArray& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(QFile::decodeName(path)).absolutePath());
    const bool isFree = access(path.constData(), R_OK | W_OK) == 0 && access(folder.constData(), W_OK | X_OK) == 0;
    return isFree ? 0 : errno;
}

/// SQLite's own words, and where these say too little the system's: such as a disk that is full or not to be written.
QString ReasonOf(sqlite3* connection, int result)
{
    const QString text = QString::fromUtf8(sqlite3_errmsg(connection));
    const int primary = result & 0xFF;
    int reason = 0;
    if (primary == SQLITE_IOERR) reason = sqlite3_system_errno(connection);
    else if (primary == SQLITE_CANTOPEN) reason = Obstacle(sqlite3_db_filename(connection, "main"));
    return reason != 0 ? QStringLiteral("%1 (%2)").arg(text, qt_error_string(reason)) : text;
}

} // namespace

SqliteError::SqliteError(int code, const QString& text)
    : DatabaseError(QSqlError(QString(), text, QSqlError::StatementError, QString::number(code)))
    , m_Code(code)
{
}

bool SqliteError::IsDamage() const
{
    const int primary = m_Code & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool SqliteError::IsOfTheMoment() const
{
    const int primary = m_Code & 0xFF;
    return primary == SQLITE_FULL || primary == SQLITE_BUSY;
}

bool SqliteError::IsForeign() const
{
    return (m_Code & 0xFF) == SQLITE_NOTADB;
}

SqliteConnection::SqliteConnection(const QString& path, Access access)
{
    if (access == Access::Create) MakePrivateFile(path);
    MendSharedMemoryFile(path);
    Open(QFile::encodeName(path), SQLITE_OPEN_READWRITE);
    m_File = open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC);
    if (m_File < 0) { // without it nobody would notice that the file is deleted
        const QString reason = qt_error_string(errno);
        sqlite3_close(m_Handle);
        throw SqliteError(SQLITE_CANTOPEN, QStringLiteral("%1 cannot be opened: %2").arg(path, reason));
    }
    // Without a file beside it that holds changes it is complete, and nobody can change it either.
    const bool isComplete = QFileInfo(path + QStringLiteral("-wal")).size() == 0;
    if (access != Access::Reading || CanBeRead() || !isComplete) return;
    sqlite3_close(m_Handle);
    Open("file:" + QUrl::toPercentEncoding(path, "/") + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
}

void SqliteConnection::Open(const QByteArray& name, int flags)
{
    const int result = sqlite3_open_v2(name.constData(), &m_Handle, flags, nullptr);
    if (result != SQLITE_OK) {
        const QString text = ReasonOf(m_Handle, result);
        sqlite3_close(m_Handle);
        throw SqliteError(result, text);
    }
    sqlite3_extended_result_codes(m_Handle, 1);
    sqlite3_busy_timeout(m_Handle, LongestWaitForOthers);
}

bool SqliteConnection::CanBeRead() const
{
    const int result = sqlite3_exec(m_Handle, "SELECT 1 FROM sqlite_master", nullptr, nullptr, nullptr) & 0xFF;
    return result != SQLITE_IOERR && result != SQLITE_CANTOPEN && result != SQLITE_FULL;
}

SqliteConnection::~SqliteConnection()
{
    sqlite3_close(m_Handle);
    if (m_File >= 0) close(m_File);
}

void SqliteConnection::Run(const QByteArray& statements) const
{
    Check(sqlite3_exec(m_Handle, statements.constData(), nullptr, nullptr, nullptr));
}

qint64 SqliteConnection::Ask(const QByteArray& question) const
{
    SqliteStatement statement(*this, question.constData());
    return statement.Step() ? statement.Integer(0) : 0;
}

bool SqliteConnection::HasMoved() const
{
    int hasMoved = 0;
    return sqlite3_file_control(m_Handle, "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved) == SQLITE_OK && hasMoved != 0;
}

bool SqliteConnection::IsDeleted() const
{
    struct stat status
    {
    };
    return m_File >= 0 && fstat(m_File, &status) == 0 && status.st_nlink == 0;
}

void SqliteConnection::Check(int result) const
{
    if (result != SQLITE_OK) throw SqliteError(result, ReasonOf(m_Handle, result));
}

SqliteStatement::SqliteStatement(const SqliteConnection& connection, const char* text)
    : m_Connection(connection)
{
    connection.Check(sqlite3_prepare_v2(connection.Handle(), text, -1, &m_Statement, nullptr));
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_Statement);
}

SqliteStatement& SqliteStatement::Bind(int parameter, qint64 number)
{
    m_Connection.Check(sqlite3_bind_int64(m_Statement, parameter, number));
    return *this;
}

SqliteStatement& SqliteStatement::Bind(int parameter, double number)
{
    m_Connection.Check(sqlite3_bind_double(m_Statement, parameter, number));
    return *this;
}

SqliteStatement& SqliteStatement::BindText(int parameter, QByteArrayView text)
{
    m_Connection.Check(sqlite3_bind_text64(m_Statement, parameter, text.isNull() ? "" : text.data(),
                                           static_cast<quint64>(text.size()), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

SqliteStatement& SqliteStatement::BindBytes(int parameter, QByteArrayView bytes)
{
    m_Connection.Check(
        sqlite3_bind_blob64(m_Statement, parameter, bytes.data(), static_cast<quint64>(bytes.size()), SQLITE_STATIC));
    return *this;
}

bool SqliteStatement::Step()
{
    const int result = sqlite3_step(m_Statement);
    if (result == SQLITE_ROW) return true;
    const int ended = sqlite3_reset(m_Statement);
    if (result != SQLITE_DONE) m_Connection.Check(ended);
    return false;
}

void SqliteStatement::Run()
{
    while (Step()) {
    }
}

void SqliteStatement::Reset()
{
    sqlite3_reset(m_Statement);
}

qint64 SqliteStatement::Integer(int column) const
{
    return sqlite3_column_int64(m_Statement, column);
}

double SqliteStatement::Real(int column) const
{
    return sqlite3_column_double(m_Statement, column);
}

bool SqliteStatement::IsNull(int column) const
{
    return sqlite3_column_type(m_Statement, column) == SQLITE_NULL;
}

QByteArrayView SqliteStatement::Bytes(int column) const
{
    const void* bytes = sqlite3_column_blob(m_Statement, column);
    return {static_cast<const char*>(bytes), sqlite3_column_bytes(m_Statement, column)};
}

SqlCell SqliteStatement::Cell(int column) const
{
    using Type = SqlCell::Type;
    switch (sqlite3_column_type(m_Statement, column)) {
    case SQLITE_NULL: return {};
    case SQLITE_INTEGER: return {Type::Integer, Integer(column), 0.0, {}};
    case SQLITE_FLOAT: return {Type::Real, 0, Real(column), {}};
    case SQLITE_BLOB: return {Type::Blob, 0, 0.0, Bytes(column)};
    default: return {Type::Text, 0, 0.0, Bytes(column)};
    }
}

SqliteTransaction::SqliteTransaction(const SqliteConnection& connection)
    : m_Connection(connection)
{
    connection.Run("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction()
{
    // A failure may have ended the transaction already.
    if (m_IsOpen && sqlite3_get_autocommit(m_Connection.Handle()) == 0)
        sqlite3_exec(m_Connection.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::Commit()
{
    m_Connection.Run("COMMIT");
    m_IsOpen = false;
}
