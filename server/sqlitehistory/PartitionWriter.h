#pragma once

#include "server/database/RecordedValue.h"
#include "server/sqlitehistory/RowPartition.h"

#include <set>

/// Adds to a partition. All that changes it stands in a transaction of the caller, on File(); after a rollback the
/// writer is of no further use.
class PartitionWriter : public RowPartition
{
public:
    using RowPartition::RowPartition;

    /// Gives the item a number when it has none. Throws SqliteError.
    qint64 NumberOf(QByteArrayView controller, QByteArrayView item);
    /// The greatest number of an item.
    qint64 LastItem() const { return File().Ask("SELECT max(id) FROM items"); }
    /// Rows of any items, in the order in which they came; `range` is theirs.
    void Append(const RowBlockWriter& rows, const Chunk& range);
    qint64 RowsInLog() const { return File().Ask("SELECT sum(row_count) FROM log"); }
    /// Puts the oldest rows of the log in order, at least `rows` of them if there are so many.
    void OrderLog(qint64 rows);
    /// Removes the oldest chunk, or when there is none the oldest rows of the log, but at most `rows` rows. Returns how
    /// many have gone: less when the oldest chunk has more.
    qint64 RemoveOldest(qint64 rows);
    /// Rows of the item in this hour were changed or removed; the log's do not count.
    void ReckonHour(qint64 item, qint64 startUtc);
    /// Changes a block's rows; without any row that is left it goes.
    void Replace(qint64 chunk, qint64 block, const std::vector<HistoryRow>& rows, qint64 removed);

    void Note(SpoolPosition position);
    quint64 Written(quint64 spool) const;
    void Forget(quint64 spool);
    /// Takes over how far spools have been written.
    void CopyPositions(const RowPartition& from);

private:
    void WriteChunk(const Chunk& chunk, std::map<qint64, std::vector<HistoryRow>>& items);
    void WriteMinutes(qint64 key, const std::vector<HistoryRow>& rows);
    void RemoveMinutes(qint64 firstKey, qint64 lastKey);
    void WriteHours(qint64 item, const Summaries& hours);
    qint64 RemoveChunk(qint64 chunk);
    qint64 RemoveFromLog(qint64 rows);
};
