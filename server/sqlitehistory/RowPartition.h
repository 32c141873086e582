#pragma once

#include "server/sqlitehistory/RowBlock.h"
#include "server/sqlitehistory/Sqlite.h"
#include "server/sqlitehistory/Summaries.h"

#include <QHash>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

/// Rows that were put in order together: those of each item stand in one block.
struct Chunk
{
    /// The number of the rows that have come last and still stand in the order in which they came.
    static constexpr qint64 Log = 0;
    static constexpr qint64 Lowest = std::numeric_limits<qint64>::min();
    static constexpr qint64 Highest = std::numeric_limits<qint64>::max();

    void Add(const HistoryRow& row);

    qint64 Number = 0;
    qint64 Rows = 0;
    // Of keys, and of moments where rows have one; a chunk may have lost the rows at its ends.
    qint64 FirstLocal = Highest;
    qint64 LastLocal = Lowest;
    qint64 FirstUtc = Highest;
    qint64 LastUtc = Lowest;
};

/// The rows of one block, with the bytes that they point into.
struct RowBlock
{
    qint64 Number = 0; ///< in its chunk: of the item, in the log its place
    QByteArray Bytes;
    std::vector<HistoryRow> Rows;
};

struct ItemName
{
    bool operator<(const ItemName& other) const
    {
        return Controller != other.Controller ? Controller < other.Controller : Item < other.Item;
    }

    QByteArray Controller;
    QByteArray Item;
};

/// A file with the rows of some time: those that came last in the order in which they came (the log), all others in
/// chunks. It knows its items by itself, so it needs no other file.
class RowPartition
{
public:
    using Access = SqliteConnection::Access;

    /// Throws SqliteError.
    RowPartition(const QString& path, Access access);

    const SqliteConnection& File() const { return m_File; }
    /// All that is read from here on is of the same moment.
    void BeginReading() const { m_File.Run("BEGIN"); }

    /// A prepared statement that is kept; `text` is a literal, each used by one caller at a time.
    SqliteStatement& Prepared(const char* text) const;
    /// The log is the last one, when there are rows in it.
    std::vector<Chunk> Chunks() const;
    /// The numbers of the items with these names; without a name: with any.
    std::vector<qint64> ItemsNamed(const std::optional<QByteArray>& controller,
                                   const std::optional<QByteArray>& item) const;
    /// Throws SqliteError when there is no such item.
    const ItemName& NameOf(qint64 item);
    /// The blocks of these items in number order, or of all; those of the log hold other items as well.
    void ReadBlocks(qint64 chunk, const std::optional<std::vector<qint64>>& items,
                    const std::function<void(RowBlock&&)>& receive) const;
    /// One of them; without rows when it is not there.
    RowBlock ReadBlock(qint64 chunk, qint64 number) const;
    /// The rows of an item in a chunk, in order; not in the log.
    void ReadRows(qint64 chunk, qint64 item, const std::function<void(const HistoryRow&)>& receive) const;
    /// Its minutes there, if they are kept, else false; not in the log.
    bool ReadMinutes(qint64 chunk, qint64 item, const std::function<void(const Summary&)>& receive) const;
    /// The full hours of an item that begin within the range. The log's rows are not among them.
    void AddHours(qint64 item, qint64 from, qint64 to, Summaries& hours) const;

protected:
    /// Partitions of an earlier version have none.
    bool HasMinutes() const { return m_HasMinutes; }

private:
    const SqliteConnection m_File;
    bool m_HasMinutes = false;
    mutable std::unordered_map<const char*, std::unique_ptr<SqliteStatement>> m_Prepared;
    QHash<qint64, ItemName> m_Names;
};

/// The number under which the block of an item stands in the table of blocks.
qint64 BlockKey(qint64 chunk, qint64 item);
constexpr int BitsOfItem = 24;
