#include "server/sqlitehistory/Takeover.h"

#include "server/log/Log.h"
#include "server/sqlitehistory/NewRow.h"
#include "server/worker/Priority.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr qint64 RowsAtOnce = 10'000;
constexpr qint64 RowsInChunk = 65'536;
constexpr qint64 RowsInPartition = 8'000'000;
/// The place of a plain table's last row that was moved stands among the positions of spools, which have other numbers.
constexpr quint64 OwnPosition = 0;

QByteArray Quoted(const QString& name)
{
    return '"' + QString(name).replace(u'"', QStringLiteral("\"\"")).toUtf8() + '"';
}

/// The partition that takes old rows, and how far this has come.
class Target
{
public:
    explicit Target(const PartitionFolder& folder)
        : m_Folder(folder)
    {
        qint64 last = 0;
        for (const PartitionFile& file : folder.Files())
            if (file.Number < PartitionFolder::FirstNumber) {
                last = file.Number;
                m_Moved =
                    std::max(m_Moved, PartitionWriter(file.Path, RowPartition::Access::Existing).Written(OwnPosition));
            }
        Open(std::max<qint64>(last, 1));
    }

    qint64 Moved() const { return static_cast<qint64>(m_Moved); }

    /// Adds the rows; `last` is the place of the last one.
    void Add(SqliteStatement& rows, qint64& count, qint64& last)
    {
        SqliteTransaction transaction(m_Writer->File());
        RowBlockWriter block;
        Chunk range;
        while (rows.Step()) {
            last = rows.Integer(0);
            const qint64 item = m_Writer->NumberOf(rows.Bytes(1), rows.Bytes(2));
            HistoryRow row = NewRow(item, rows.Cell(3), rows.Cell(4));
            if (!rows.IsNull(5)) row.Offset = static_cast<qint32>((row.Local - rows.Integer(5)) / 1'000'000);
            row.State = static_cast<quint8>(rows.Integer(6));
            block.Append(row);
            range.Add(row);
        }
        count = range.Rows;
        if (count > 0) m_Writer->Append(block, range);
        m_Writer->Note({OwnPosition, static_cast<quint64>(std::max(last, Moved()))});
        if (m_Writer->RowsInLog() >= RowsInChunk) m_Writer->OrderLog(RowsInChunk);
        transaction.Commit();
        m_Moved = static_cast<quint64>(std::max(last, Moved()));
        m_Rows += count;
    }

    void GoOnIfFull()
    {
        if (m_Rows < RowsInPartition && QFile::exists(m_File.Path)) return;
        OrderAll();
        Open(m_File.Number + 1);
    }

    /// A table of the same name may come again one day.
    void Forget()
    {
        OrderAll();
        for (const PartitionFile& file : m_Folder.Files())
            if (file.Number < PartitionFolder::FirstNumber)
                PartitionWriter(file.Path, RowPartition::Access::Existing).Forget(OwnPosition);
    }

private:
    void Open(qint64 number)
    {
        m_File = m_Folder.FileOf(number);
        m_Writer = std::make_unique<PartitionWriter>(m_File.Path, RowPartition::Access::Create);
        m_Rows = 0;
    }

    void OrderAll()
    {
        SqliteTransaction transaction(m_Writer->File());
        while (m_Writer->RowsInLog() > 0) m_Writer->OrderLog(RowsInChunk);
        transaction.Commit();
    }

    const PartitionFolder& m_Folder;
    PartitionFile m_File;
    std::unique_ptr<PartitionWriter> m_Writer;
    quint64 m_Moved = 0;
    qint64 m_Rows = 0;
};

} // namespace

Takeover::Takeover(const QString& database, const QString& table)
    : m_Path(database)
    , m_Folder(database, table)
    , m_Table(table)
    , m_Old(table + QStringLiteral("_old"))
{
    const SqliteConnection file(database, SqliteConnection::Access::Existing);
    if (!HasPlainTable(file, m_Old)) {
        // A backup keeps the rows with their moments and states, and the four columns as a view.
        const QString backup = QStringLiteral("velsql_values");
        const QString found = HasPlainTable(file, table) ? table : HasPlainTable(file, backup) ? backup : QString();
        if (found.isEmpty()) return;
        // What refers to the table means the one that all statements see.
        file.Run("PRAGMA legacy_alter_table = ON");
        SqliteTransaction transaction(file);
        if (found == backup) file.Run("DROP VIEW IF EXISTS " + Quoted(table));
        file.Run("ALTER TABLE " + Quoted(found) + " RENAME TO " + Quoted(m_Old));
        transaction.Commit();
    }
    m_Thread = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

bool Takeover::HasPlainTable(const SqliteConnection& database, const QString& table)
{
    SqliteStatement found(database, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ? COLLATE NOCASE");
    const QByteArray name = table.toUtf8();
    return found.BindText(1, name).Step();
}

void Takeover::Run(const std::stop_token& stop) const
{
    WorkInTheBackground(); // recording comes first
    const QString name = QStringLiteral("Taking over the rows of %1 from %2").arg(m_Old, m_Path);
    try {
        Log(LogLevel::Info, name + QStringLiteral("."));
        MoveAll(stop);
        Log(LogLevel::Info, name + (stop.stop_requested() ? QStringLiteral(" goes on with the next start.")
                                                          : QStringLiteral(" is done.")));
    } catch (...) {
        Log(LogLevel::Error, QStringLiteral("%1 stops until the next start, and nothing is lost: %2")
                                 .arg(name, CurrentErrorDescription()));
    }
}

void Takeover::MoveAll(const std::stop_token& stop) const
{
    const SqliteConnection database(m_Path, SqliteConnection::Access::Existing);
    const QByteArray old = Quoted(m_Old);
    const QByteArray name = m_Old.toUtf8();
    SqliteStatement columns(database, "SELECT count(*) = 2 FROM pragma_table_info(?) "
                                      "WHERE name IN ('item_utc', 'item_state')");
    const bool hasMore = columns.BindText(1, name).Step() && columns.Integer(0) != 0;
    columns.Reset();
    const QByteArray question = "SELECT rowid, controller_name, item_name, item_value, item_time, " +
                                QByteArray(hasMore ? "item_utc, item_state" : "NULL, 0") + " FROM " + old +
                                " WHERE rowid > ? ORDER BY rowid LIMIT ?";
    SqliteStatement rows(database, question.constData());
    const QByteArray removal = "DELETE FROM " + old + " WHERE rowid <= ?";
    SqliteStatement drop(database, removal.constData());
    Target target(m_Folder);
    while (!stop.stop_requested()) {
        const auto began = Clock::now();
        qint64 count = 0;
        qint64 last = target.Moved();
        SqliteTransaction transaction(database);
        // What an interrupted run has moved already goes with the next rows.
        rows.Bind(1, target.Moved()).Bind(2, RowsAtOnce);
        target.Add(rows, count, last);
        drop.Bind(1, target.Moved()).Run();
        transaction.Commit();
        if (count == 0) {
            target.Forget();
            return Finish(database);
        }
        target.GoOnIfFull();
        std::this_thread::sleep_for((Clock::now() - began) / 2);
    }
}

void Takeover::Finish(const SqliteConnection& database) const
{
    database.Run("DROP TABLE " + Quoted(m_Old));
    try {
        database.Run("VACUUM"); // only what others keep there is left
    } catch (const SqliteError& error) {
        Log(LogLevel::Debug, QStringLiteral("The old table's space is not free yet: ") + error.Description());
    }
}
