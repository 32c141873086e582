#include "server/sqlitehistory/SqliteTable.h"

#include "server/database/SqlValue.h"
#include "server/log/Log.h"
#include "server/sqlitehistory/TimeKey.h"

namespace {

// Of one block of the log; larger ones would hold up those who read one row.
constexpr qsizetype MostBytesInBlock = 1024 * 1024;
constexpr auto BetweenLooks = std::chrono::minutes(1);
constexpr qint64 MostItems = (qint64{1} << BitsOfItem) - 100'000;

SqlCell CellOf(const Variant& value, QByteArray& bytes)
{
    if (const double* number = value.GetIf<double>()) return NumericCell(*number);
    const QVariant sql = ToSql(value);
    if (sql.isNull()) return {};
    switch (sql.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong: return {SqlCell::Type::Integer, sql.toLongLong(), 0.0, {}};
    case QMetaType::Double: return NumericCell(sql.toDouble());
    default: bytes = sql.toString().toUtf8(); return NumericCell(QByteArrayView(bytes));
    }
}

/// The database's path. Where there have been partitions it is this program's own, whatever stands in it now.
QString SoundDatabase(const HistoryDestination& destination)
{
    const QString path = DatabaseAddress(destination.ConnectionString).Database();
    try {
        SqliteConnection(path, SqliteConnection::Access::Create).Ask("SELECT count(*) FROM sqlite_master");
    } catch (const SqliteError& error) {
        const bool isOwn = !PartitionFolder(path, destination.TableName).Files().empty();
        if (!error.IsDamage() || (error.IsForeign() && !isOwn))
            throw DescribedError(QStringLiteral("The history database \"%1\": %2").arg(path, error.Description()));
        PartitionFolder::SetAside({0, path}, error.Description());
    }
    return path;
}

} // namespace

SqliteTable::SqliteTable(const HistoryDestination& destination)
    : HistoryTable(destination)
    , m_Path(SoundDatabase(destination))
    , m_Database(m_Path, SqliteConnection::Access::Create)
    , m_Folder(m_Path, destination.TableName)
    , m_Retention(destination, m_Folder)
{
    m_Database.Run("PRAGMA journal_mode = WAL");
    // Makes what statements need beside the file, even if the disk is full by then.
    m_Database.Ask("SELECT count(*) FROM sqlite_master");
    OpenNewest();
    m_Retention.Begin(*m_Writer);
    m_Takeover.emplace(m_Path, destination.TableName);
}

SqliteTable::~SqliteTable() = default;

bool SqliteTable::IsGone() const
{
    for (const auto& [connection, path] : {std::pair(&m_Database, m_Path), {&m_Writer->File(), m_File.Path}}) {
        if (!connection->HasMoved()) continue;
        Log(LogLevel::Warning,
            QStringLiteral("%1 has been deleted, moved or replaced: recording goes on in another file.").arg(path));
        MakeWhole(*connection);
        return true;
    }
    return false;
}

/// What stands beside a file that was moved becomes part of it, wherever it is now.
void SqliteTable::MakeWhole(const SqliteConnection& moved)
{
    try {
        moved.Run("PRAGMA wal_checkpoint(TRUNCATE)");
    } catch (const SqliteError& error) {
        Log(LogLevel::Warning,
            QStringLiteral("A file that was moved may lack its last values: ") + error.Description());
    }
}

void SqliteTable::Write(std::span<const RecordedValue> values, SpoolPosition position)
{
    try {
        if (m_RowsInLog < 0) m_RowsInLog = m_Writer->RowsInLog();
        SqliteTransaction transaction(m_Writer->File());
        Insert(values);
        m_Writer->Note(position);
        transaction.Commit();
        if (m_Writer->File().IsDeleted()) throw DescribedError(m_File.Path + QStringLiteral(" has been deleted."));
    } catch (const SqliteError& error) {
        RolledBack();
        if (error.IsDamage()) PartitionFolder::SetAside(m_File, error.Description());
        throw;
    }
    try {
        Trim();
        m_Trouble.clear();
    } catch (...) {
        // What was written stays written, and what is out of order is found all the same.
        const QString reason = CurrentErrorDescription();
        if (std::exchange(m_Trouble, reason) != reason)
            Log(LogLevel::Warning, QStringLiteral("The history cannot be arranged: ") + reason);
        RolledBack();
    }
}

bool SqliteTable::Survives(const DescribedError& error) const
{
    const auto* failure = dynamic_cast<const SqliteError*>(&error);
    return failure && failure->IsOfTheMoment();
}

quint64 SqliteTable::Written(quint64 spool) const
{
    // The newest partition may have been begun without having taken the positions over.
    std::vector<PartitionFile> files = m_Folder.Files();
    for (int looks = 0; looks < 2 && !files.empty(); ++looks, files.pop_back()) {
        quint64 sequence = 0;
        PartitionFolder::Guard(files.back(), [&] {
            sequence = PartitionWriter(files.back().Path, RowPartition::Access::Existing).Written(spool);
        });
        if (sequence > 0) return sequence;
    }
    return 0;
}

void SqliteTable::Forget(quint64 spool) const
{
    m_Writer->Forget(spool);
}

void SqliteTable::Insert(std::span<const RecordedValue> values)
{
    RowBlockWriter block;
    Chunk range;
    const auto write = [&] {
        if (range.Rows > 0) m_Writer->Append(block, range);
        m_RowsInLog += range.Rows;
        block.Clear();
        range = {};
    };
    for (const RecordedValue& value : values) {
        QByteArray bytes; // outlives the row
        HistoryRow row;
        const auto utc = std::chrono::floor<std::chrono::microseconds>(value.Time).time_since_epoch().count();
        row.Item = NumberOf(value);
        row.Offset = OffsetAt(utc);
        row.Local = utc + row.Offset * MicrosecondsASecond;
        row.State = static_cast<quint8>(value.State);
        row.Value = CellOf(value.Value, bytes);
        block.Append(row);
        range.Add(row);
        if (block.Bytes().size() > MostBytesInBlock) write();
    }
    write();
    m_Added = static_cast<qint64>(values.size());
}

/// Not in the transaction of the values: nobody waits for it.
void SqliteTable::Trim()
{
    m_Retention.ApplyCount(*m_Writer, m_Added);
    const bool isDue = m_RowsInLog >= m_Retention.RowsInChunk();
    if (!isDue && Clock::now() < m_NextLook) return;
    if (isDue) OrderLog();
    const Chunk range = PartitionFolder::ContentsOf(m_File).Range;
    if (m_Retention.IsFull(range, m_File.Bytes()) || m_Writer->LastItem() > MostItems) GoToNext();
    m_Retention.Apply(*m_Writer);
    m_NextLook = Clock::now() + BetweenLooks;
}

void SqliteTable::OrderLog()
{
    SqliteTransaction transaction(m_Writer->File());
    m_Writer->OrderLog(m_Retention.RowsInChunk());
    transaction.Commit();
    m_RowsInLog = m_Writer->RowsInLog();
}

void SqliteTable::RolledBack()
{
    m_Numbers.clear();
    m_RowsInLog = -1;
}

void SqliteTable::OpenNewest()
{
    const std::vector<PartitionFile> files = m_Folder.Files();
    const qint64 last = files.empty() ? 0 : files.back().Number;
    const PartitionFile next = m_Folder.FileOf(std::max(last + 1, PartitionFolder::FirstNumber));
    const PartitionFile& newest = last >= PartitionFolder::FirstNumber ? files.back() : next;
    try {
        Use(newest, WriterFor(newest));
    } catch (const SqliteError& error) {
        if (&newest == &next || !error.IsDamage()) throw;
        PartitionFolder::SetAside(newest, error.Description());
        Use(next, WriterFor(next));
    }
}

std::unique_ptr<PartitionWriter> SqliteTable::WriterFor(const PartitionFile& file) const
{
    auto writer = std::make_unique<PartitionWriter>(file.Path, RowPartition::Access::Create);
    writer->File().Run(Destination().Surviving == Durability::Power ? "PRAGMA synchronous = FULL"
                                                                    : "PRAGMA synchronous = NORMAL");
    writer->File().Run("PRAGMA cache_size = -16000");
    return writer;
}

void SqliteTable::Use(const PartitionFile& file, std::unique_ptr<PartitionWriter> writer)
{
    m_RowsInLog = writer->RowsInLog();
    m_Writer = std::move(writer);
    m_Numbers.clear();
    m_File = file;
    m_File.MayGrow = true;
}

void SqliteTable::GoToNext()
{
    while (m_RowsInLog > 0) OrderLog();
    const PartitionFile file = m_Folder.FileOf(m_File.Number + 1);
    auto next = WriterFor(file);
    SqliteTransaction transaction(next->File());
    next->CopyPositions(*m_Writer);
    transaction.Commit();
    Use(file, std::move(next));
}

qint64 SqliteTable::NumberOf(const RecordedValue& value)
{
    qint64& number = m_Numbers[{value.Controller, value.Item}];
    if (number == 0) number = m_Writer->NumberOf(value.Controller.toUtf8(), value.Item.toUtf8());
    return number;
}

qint32 SqliteTable::OffsetAt(qint64 utc)
{
    const qint64 minute = SpanBegin(utc, Minute);
    if (minute != m_OffsetMinute) m_Offset = OffsetOfMoment(utc);
    m_OffsetMinute = minute;
    return m_Offset;
}
