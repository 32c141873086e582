#include "server/sqlitehistory/RowPartition.h"

#include "server/database/FolderLock.h"

#include <QDir>

#include <array>
#include <atomic>
#include <cerrno>
#include <sqlite3.h>
#include <unistd.h>

namespace {

constexpr qint64 LayoutVersion = 2;
constexpr qint64 VersionWithMinutes = 2;
constexpr qint64 FirstVersion = 1;

/// Numbers of items and chunks begin with 1 and those of chunks are used once, so that nobody mistakes one for another.
/// Times are microseconds: of item_time as it stands there, and since 1970-01-01 UTC.
constexpr const char* Layout =
    "PRAGMA journal_mode = WAL;"
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS items (id INTEGER PRIMARY KEY, controller_name TEXT NOT NULL, item_name TEXT NOT NULL,"
    " UNIQUE (controller_name, item_name));"
    "CREATE TABLE IF NOT EXISTS log (id INTEGER PRIMARY KEY AUTOINCREMENT, row_count INTEGER NOT NULL, first_local "
    "INTEGER NOT NULL,"
    " last_local INTEGER NOT NULL, first_utc INTEGER NOT NULL, last_utc INTEGER NOT NULL, row_block BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS chunks (id INTEGER PRIMARY KEY AUTOINCREMENT, row_count INTEGER NOT NULL,"
    " first_local INTEGER NOT NULL, last_local INTEGER NOT NULL, first_utc INTEGER NOT NULL,"
    " last_utc INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS blocks (chunk_and_item INTEGER PRIMARY KEY, row_block BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS hours (item INTEGER, start_utc INTEGER, row_count INTEGER, number_count INTEGER,"
    " smallest REAL, largest REAL, total REAL, first_value REAL, last_value REAL, first_utc INTEGER, last_utc INTEGER,"
    " worst_state INTEGER, PRIMARY KEY (item, start_utc)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS minutes (chunk_and_item INTEGER PRIMARY KEY, minute_block BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS positions (spool_id INTEGER PRIMARY KEY, sequence INTEGER NOT NULL);"
    "PRAGMA user_version = 2;"
    "COMMIT;";

RowBlock Unpack(qint64 number, QByteArrayView bytes, qint64 item)
{
    RowBlock block{number, bytes.toByteArray(), {}};
    RowBlockReader reader(block.Bytes);
    for (HistoryRow row; reader.Next(row);) {
        if (item != 0) row.Item = item; // blocks of one item do not repeat it
        block.Rows.push_back(row);
    }
    return block;
}

Chunk ReadChunk(const SqliteStatement& row)
{
    return {row.Integer(0), row.Integer(1), row.Integer(2), row.Integer(3), row.Integer(4), row.Integer(5)};
}

/// A file that is being made; it goes with this object.
class Begun
{
public:
    explicit Begun(const QString& path)
        : m_Path(NameFor(path))
    {
        RemoveLeft(path);
    }
    Begun(const Begun&) = delete;
    Begun& operator=(const Begun&) = delete;
    ~Begun()
    {
        for (const char16_t* companion : Companions) QFile::remove(m_Path + QString::fromUtf16(companion));
    }

    const QString& Path() const { return m_Path; }

private:
    static constexpr std::array<const char16_t*, 4> Companions = {u"", u"-wal", u"-shm", u"-journal"};

    static QString NameFor(const QString& path)
    {
        static std::atomic<int> count = 0;
        return path + QStringLiteral(".new-%1-%2").arg(getpid()).arg(++count);
    }
    /// Of servers that were killed.
    static void RemoveLeft(const QString& path)
    {
        const QFileInfo file(path);
        const QString own = QStringLiteral(".new-%1-").arg(getpid());
        for (const QString& name : file.dir().entryList({file.fileName() + QStringLiteral(".new-*")}, QDir::Files))
            if (!name.contains(own)) file.dir().remove(name);
    }

    const QString m_Path;
};

/// Makes the file, if it is missing, under another name at first: nobody ever sees half of one.
QString Made(const QString& path)
{
    if (QFile::exists(path)) return path;
    const FolderLock lock(path);
    if (QFile::exists(path)) return path; // somebody was faster
    const Begun begun(path);
    {
        const SqliteConnection made(begun.Path(), SqliteConnection::Access::Create);
        made.Run(Layout);
        // All of it is in the file itself then, which is what gets the name. Closing does this, too, but says nothing.
        made.Run("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    // What a file of this name that has gone has left would become part of this one.
    for (const char16_t* companion : {u"-wal", u"-shm"}) {
        const QString left = path + QString::fromUtf16(companion);
        if (!QFile::remove(left) && QFile::exists(left))
            throw SqliteError(SQLITE_CANTOPEN, QStringLiteral("%1 cannot be removed.").arg(left));
    }
    const int result = link(QFile::encodeName(begun.Path()).constData(), QFile::encodeName(path).constData());
    const int reason = errno;
    if (result != 0 && reason != EEXIST)
        throw SqliteError(SQLITE_CANTOPEN, QStringLiteral("%1 cannot be made: %2").arg(path, qt_error_string(reason)));
    return path;
}

} // namespace

void Chunk::Add(const HistoryRow& row)
{
    ++Rows;
    FirstLocal = std::min(FirstLocal, row.Local);
    LastLocal = std::max(LastLocal, row.Local);
    if (!row.HasUtc()) return;
    FirstUtc = std::min(FirstUtc, row.Utc());
    LastUtc = std::max(LastUtc, row.Utc());
}

RowPartition::RowPartition(const QString& path, Access access)
    : m_File(access == Access::Create ? Made(path) : path, access == Access::Reading ? access : Access::Existing)
{
    const qint64 version = m_File.Ask("PRAGMA user_version");
    const qint64 tables = m_File.Ask("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND "
                                     "name IN ('items', 'log', 'chunks', 'blocks', 'hours', 'positions')");
    if (version > LayoutVersion)
        throw DescribedError(QStringLiteral("%1 was written by a newer version of this program.").arg(path));
    else if (version < FirstVersion || tables < 6)
        throw SqliteError(SQLITE_NOTADB, QStringLiteral("%1 is no part of a history.").arg(path));
    m_HasMinutes = version >= VersionWithMinutes;
    m_File.Run("PRAGMA cache_size = -4000");
}

SqliteStatement& RowPartition::Prepared(const char* text) const
{
    auto& statement = m_Prepared[text];
    if (!statement) statement = std::make_unique<SqliteStatement>(m_File, text);
    statement->Reset();
    return *statement;
}

std::vector<Chunk> RowPartition::Chunks() const
{
    std::vector<Chunk> chunks;
    SqliteStatement rows(m_File, "SELECT id, row_count, first_local, last_local, first_utc, last_utc FROM chunks");
    while (rows.Step()) chunks.push_back(ReadChunk(rows));
    SqliteStatement log(m_File, "SELECT 0, sum(row_count), min(first_local), max(last_local), min(first_utc), "
                                "max(last_utc) FROM log");
    if (log.Step() && log.Integer(1) > 0) chunks.push_back(ReadChunk(log));
    return chunks;
}

std::vector<qint64> RowPartition::ItemsNamed(const std::optional<QByteArray>& controller,
                                             const std::optional<QByteArray>& item) const
{
    QByteArray question = "SELECT id FROM items WHERE true";
    if (controller) question += " AND controller_name = ?1";
    if (item) question += " AND item_name = ?2";
    SqliteStatement ids(m_File, question.constData());
    if (controller) ids.BindText(1, *controller);
    if (item) ids.BindText(2, *item);
    std::vector<qint64> numbers;
    while (ids.Step()) numbers.push_back(ids.Integer(0));
    return numbers;
}

const ItemName& RowPartition::NameOf(qint64 item)
{
    const auto known = m_Names.constFind(item);
    if (known != m_Names.constEnd()) return *known;
    SqliteStatement names(m_File, "SELECT id, controller_name, item_name FROM items");
    while (names.Step()) m_Names.insert(names.Integer(0), {names.Bytes(1).toByteArray(), names.Bytes(2).toByteArray()});
    const auto found = m_Names.constFind(item);
    if (found == m_Names.constEnd())
        throw SqliteError(SQLITE_CORRUPT, QStringLiteral("The history's rows name an item that is not there."));
    return *found;
}

void RowPartition::ReadBlocks(qint64 chunk, const std::optional<std::vector<qint64>>& items,
                              const std::function<void(RowBlock&&)>& receive) const
{
    if (chunk == Chunk::Log) {
        SqliteStatement log(m_File, "SELECT id, row_block FROM log ORDER BY id");
        while (log.Step()) receive(Unpack(log.Integer(0), log.Bytes(1), 0));
    } else if (items) {
        SqliteStatement& block = Prepared("SELECT row_block FROM blocks WHERE chunk_and_item = ?");
        for (const qint64 item : *items)
            if (block.Bind(1, BlockKey(chunk, item)).Step()) {
                receive(Unpack(item, block.Bytes(0), item));
                block.Reset();
            }
    } else {
        SqliteStatement blocks(m_File, "SELECT chunk_and_item, row_block FROM blocks "
                                       "WHERE chunk_and_item BETWEEN ? AND ? ORDER BY chunk_and_item");
        blocks.Bind(1, BlockKey(chunk, 0)).Bind(2, BlockKey(chunk + 1, 0) - 1);
        while (blocks.Step()) {
            const qint64 item = blocks.Integer(0) - BlockKey(chunk, 0);
            receive(Unpack(item, blocks.Bytes(1), item));
        }
    }
}

RowBlock RowPartition::ReadBlock(qint64 chunk, qint64 number) const
{
    const bool isLog = chunk == Chunk::Log;
    SqliteStatement block(m_File, isLog ? "SELECT row_block FROM log WHERE id = ?"
                                        : "SELECT row_block FROM blocks WHERE chunk_and_item = ?");
    if (!block.Bind(1, isLog ? number : BlockKey(chunk, number)).Step()) return {number, {}, {}};
    return Unpack(number, block.Bytes(0), isLog ? 0 : number);
}

void RowPartition::ReadRows(qint64 chunk, qint64 item, const std::function<void(const HistoryRow&)>& receive) const
{
    SqliteStatement& block = Prepared("SELECT row_block FROM blocks WHERE chunk_and_item = ?");
    if (!block.Bind(1, BlockKey(chunk, item)).Step()) return;
    RowBlockReader reader(block.Bytes(0));
    for (HistoryRow row; reader.Next(row);) receive(row);
    block.Reset();
}

bool RowPartition::ReadMinutes(qint64 chunk, qint64 item, const std::function<void(const Summary&)>& receive) const
{
    if (!m_HasMinutes) return false;
    SqliteStatement& block = Prepared("SELECT minute_block FROM minutes WHERE chunk_and_item = ?");
    if (!block.Bind(1, BlockKey(chunk, item)).Step()) return false;
    for (const Summary& minute : UnpackMinutes(block.Bytes(0))) receive(minute);
    block.Reset();
    return true;
}

void RowPartition::AddHours(qint64 item, qint64 from, qint64 to, Summaries& hours) const
{
    SqliteStatement& rows =
        Prepared("SELECT start_utc, row_count, number_count, smallest, largest, total, first_value, "
                 "last_value, first_utc, last_utc, worst_state FROM hours "
                 "WHERE item = ? AND start_utc BETWEEN ? AND ?");
    rows.Bind(1, item).Bind(2, from).Bind(3, to);
    while (rows.Step())
        hours[rows.Integer(0)].Add(Summary{rows.Integer(0), rows.Integer(1), rows.Integer(2), rows.Real(3),
                                           rows.Real(4), rows.Real(5), rows.Real(6), rows.Real(7), rows.Integer(8),
                                           rows.Integer(9), rows.Integer(10)});
}

qint64 BlockKey(qint64 chunk, qint64 item)
{
    return (chunk << BitsOfItem) + item;
}
