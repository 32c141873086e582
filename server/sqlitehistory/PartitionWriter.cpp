#include "server/sqlitehistory/PartitionWriter.h"

#include <algorithm>
#include <list>

namespace {

/// Of fewer rows the minutes are as soon made as read.
constexpr std::size_t FewestRowsInMinute = 32;
/// SQLite's blobs hold less than 1 GB.
constexpr qint64 MostBytesInChunk = 64 * 1024 * 1024;

bool IsEarlier(const HistoryRow& row, const HistoryRow& other)
{
    return row.Local < other.Local;
}

QByteArray Pack(const std::vector<HistoryRow>& rows, bool withItems)
{
    RowBlockWriter block;
    for (HistoryRow row : rows) {
        if (!withItems) row.Item = 0; // the block's number is the item's
        block.Append(row);
    }
    return block.Bytes();
}

Summaries SummariesOf(const std::vector<HistoryRow>& rows, qint64 span)
{
    SummaryMaker maker(span);
    for (const HistoryRow& row : rows) maker.Add(row);
    return maker.Made();
}

} // namespace

qint64 PartitionWriter::NumberOf(QByteArrayView controller, QByteArrayView item)
{
    SqliteStatement& known = Prepared("SELECT id FROM items WHERE controller_name = ? AND item_name = ?");
    if (known.BindText(1, controller).BindText(2, item).Step()) {
        const qint64 number = known.Integer(0);
        known.Reset();
        return number;
    }
    SqliteStatement(File(), "INSERT INTO items (controller_name, item_name) VALUES (?, ?)")
        .BindText(1, controller)
        .BindText(2, item)
        .Run();
    return File().Ask("SELECT last_insert_rowid()");
}

void PartitionWriter::Append(const RowBlockWriter& rows, const Chunk& range)
{
    Prepared("INSERT INTO log (row_count, first_local, last_local, first_utc, last_utc, row_block) "
             "VALUES (?, ?, ?, ?, ?, ?)")
        .Bind(1, range.Rows)
        .Bind(2, range.FirstLocal)
        .Bind(3, range.LastLocal)
        .Bind(4, range.FirstUtc)
        .Bind(5, range.LastUtc)
        .BindBytes(6, rows.Bytes())
        .Run();
}

void PartitionWriter::OrderLog(qint64 rows)
{
    std::list<RowBlock> taken; // the rows point into it
    std::map<qint64, std::vector<HistoryRow>> items;
    Chunk chunk{.Number = File().Ask("SELECT coalesce(max(seq), 0) + 1 FROM sqlite_sequence WHERE name = 'chunks'")};
    qint64 bytes = 0;
    SqliteStatement log(File(), "SELECT id FROM log ORDER BY id");
    while (chunk.Rows < rows && bytes < MostBytesInChunk && log.Step()) {
        taken.push_back(ReadBlock(Chunk::Log, log.Integer(0)));
        bytes += taken.back().Bytes.size();
        for (const HistoryRow& row : taken.back().Rows) {
            if (row.IsRemoved) continue;
            items[row.Item].push_back(row);
            chunk.Add(row);
        }
    }
    log.Reset();
    if (taken.empty()) return;
    SqliteStatement(File(), "DELETE FROM log WHERE id <= ?").Bind(1, taken.back().Number).Run();
    if (chunk.Rows > 0) WriteChunk(chunk, items);
}

void PartitionWriter::WriteChunk(const Chunk& chunk, std::map<qint64, std::vector<HistoryRow>>& items)
{
    SqliteStatement(File(), "INSERT INTO chunks VALUES (?, ?, ?, ?, ?, ?)")
        .Bind(1, chunk.Number)
        .Bind(2, chunk.Rows)
        .Bind(3, chunk.FirstLocal)
        .Bind(4, chunk.LastLocal)
        .Bind(5, chunk.FirstUtc)
        .Bind(6, chunk.LastUtc)
        .Run();
    SqliteStatement& insert = Prepared("INSERT INTO blocks VALUES (?, ?)");
    for (auto& [item, rows] : items) {
        if (!std::is_sorted(rows.begin(), rows.end(), IsEarlier)) std::stable_sort(rows.begin(), rows.end(), IsEarlier);
        const QByteArray block = Pack(rows, false);
        insert.Bind(1, BlockKey(chunk.Number, item)).BindBytes(2, block).Run();
        WriteMinutes(BlockKey(chunk.Number, item), rows);
        Summaries hours = SummariesOf(rows, Hour);
        if (hours.empty()) continue;
        AddHours(item, hours.begin()->first, hours.rbegin()->first, hours);
        WriteHours(item, hours);
    }
}

void PartitionWriter::WriteMinutes(qint64 key, const std::vector<HistoryRow>& rows)
{
    if (!HasMinutes()) return;
    const Summaries minutes = SummariesOf(rows, Minute);
    if (minutes.empty() || rows.size() < FewestRowsInMinute * minutes.size()) return;
    const QByteArray block = PackMinutes(minutes);
    Prepared("INSERT INTO minutes VALUES (?, ?)").Bind(1, key).BindBytes(2, block).Run();
}

void PartitionWriter::RemoveMinutes(qint64 firstKey, qint64 lastKey)
{
    if (HasMinutes())
        Prepared("DELETE FROM minutes WHERE chunk_and_item BETWEEN ? AND ?").Bind(1, firstKey).Bind(2, lastKey).Run();
}

void PartitionWriter::WriteHours(qint64 item, const Summaries& hours)
{
    SqliteStatement& write = Prepared("INSERT OR REPLACE INTO hours VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    for (const auto& [start, hour] : hours) {
        write.Bind(1, item).Bind(2, start).Bind(3, hour.Rows).Bind(4, hour.Numbers).Bind(5, hour.Smallest);
        write.Bind(6, hour.Largest).Bind(7, hour.Sum).Bind(8, hour.First).Bind(9, hour.Last).Bind(10, hour.FirstUtc);
        write.Bind(11, hour.LastUtc).Bind(12, hour.WorstState).Run();
    }
}

qint64 PartitionWriter::RemoveOldest(qint64 rows)
{
    SqliteStatement oldest(File(), "SELECT id, row_count FROM chunks ORDER BY id LIMIT 1");
    if (!oldest.Step()) return RemoveFromLog(rows);
    const qint64 chunk = oldest.Integer(0);
    const qint64 count = oldest.Integer(1);
    oldest.Reset();
    return count <= rows ? RemoveChunk(chunk) : 0;
}

qint64 PartitionWriter::RemoveChunk(qint64 chunk)
{
    std::set<std::pair<qint64, qint64>> hours;
    qint64 rows = 0;
    ReadBlocks(chunk, std::nullopt, [&](RowBlock&& block) {
        for (const HistoryRow& row : block.Rows) {
            if (row.IsRemoved) continue;
            ++rows;
            if (row.HasUtc()) hours.insert({row.Item, SpanBegin(row.Utc(), Hour)});
        }
    });
    SqliteStatement(File(), "DELETE FROM blocks WHERE chunk_and_item BETWEEN ? AND ?")
        .Bind(1, BlockKey(chunk, 0))
        .Bind(2, BlockKey(chunk + 1, 0) - 1)
        .Run();
    RemoveMinutes(BlockKey(chunk, 0), BlockKey(chunk + 1, 0) - 1);
    SqliteStatement(File(), "DELETE FROM chunks WHERE id = ?").Bind(1, chunk).Run();
    for (const auto& [item, hour] : hours) ReckonHour(item, hour);
    return rows;
}

qint64 PartitionWriter::RemoveFromLog(qint64 rows)
{
    const qint64 oldest = File().Ask("SELECT min(id) FROM log");
    if (oldest == 0) return 0;
    RowBlock block = ReadBlock(Chunk::Log, oldest);
    qint64 gone = 0;
    for (HistoryRow& row : block.Rows) {
        if (gone == rows) break;
        if (!std::exchange(row.IsRemoved, true)) ++gone;
    }
    Replace(Chunk::Log, block.Number, block.Rows, gone);
    return gone;
}

void PartitionWriter::ReckonHour(qint64 item, qint64 startUtc)
{
    SqliteStatement(File(), "DELETE FROM hours WHERE item = ? AND start_utc = ?").Bind(1, item).Bind(2, startUtc).Run();
    SummaryMaker hour(Hour);
    SqliteStatement chunks(File(), "SELECT id FROM chunks WHERE last_utc >= ? AND first_utc < ?");
    chunks.Bind(1, startUtc).Bind(2, startUtc + Hour);
    while (chunks.Step())
        ReadRows(chunks.Integer(0), item, [&](const HistoryRow& row) {
            if (row.HasUtc() && SpanBegin(row.Utc(), Hour) == startUtc) hour.Add(row);
        });
    WriteHours(item, hour.Made());
}

void PartitionWriter::Replace(qint64 chunk, qint64 block, const std::vector<HistoryRow>& rows, qint64 removed)
{
    const bool isLog = chunk == Chunk::Log;
    const qint64 key = isLog ? block : BlockKey(chunk, block);
    const bool isEmpty = std::all_of(rows.begin(), rows.end(), [](const HistoryRow& row) { return row.IsRemoved; });
    if (isEmpty) {
        SqliteStatement(File(), isLog ? "DELETE FROM log WHERE id = ?" : "DELETE FROM blocks WHERE chunk_and_item = ?")
            .Bind(1, key)
            .Run();
    } else {
        const QByteArray bytes = Pack(rows, isLog);
        SqliteStatement(File(), isLog ? "UPDATE log SET row_block = ? WHERE id = ?"
                                      : "UPDATE blocks SET row_block = ? WHERE chunk_and_item = ?")
            .BindBytes(1, bytes)
            .Bind(2, key)
            .Run();
    }
    if (!isLog) {
        RemoveMinutes(key, key);
        if (!isEmpty) WriteMinutes(key, rows);
    }
    if (removed == 0 || (isLog && isEmpty)) return;
    SqliteStatement(File(), isLog ? "UPDATE log SET row_count = row_count - ? WHERE id = ?"
                                  : "UPDATE chunks SET row_count = row_count - ? WHERE id = ?")
        .Bind(1, removed)
        .Bind(2, isLog ? block : chunk)
        .Run();
    if (!isLog) SqliteStatement(File(), "DELETE FROM chunks WHERE id = ? AND row_count = 0").Bind(1, chunk).Run();
}

void PartitionWriter::Note(SpoolPosition position)
{
    Prepared("INSERT OR REPLACE INTO positions VALUES (?, ?)")
        .Bind(1, static_cast<qint64>(position.Spool))
        .Bind(2, static_cast<qint64>(position.Sequence))
        .Run();
}

quint64 PartitionWriter::Written(quint64 spool) const
{
    SqliteStatement known(File(), "SELECT sequence FROM positions WHERE spool_id = ?");
    return known.Bind(1, static_cast<qint64>(spool)).Step() ? static_cast<quint64>(known.Integer(0)) : 0;
}

void PartitionWriter::Forget(quint64 spool)
{
    SqliteStatement(File(), "DELETE FROM positions WHERE spool_id = ?").Bind(1, static_cast<qint64>(spool)).Run();
}

void PartitionWriter::CopyPositions(const RowPartition& from)
{
    SqliteStatement positions(from.File(), "SELECT spool_id, sequence FROM positions");
    while (positions.Step())
        Note({static_cast<quint64>(positions.Integer(0)), static_cast<quint64>(positions.Integer(1))});
}
