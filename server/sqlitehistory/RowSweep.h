#pragma once

#include "server/sqlitehistory/PartitionReaders.h"

/// Which rows of the history are wanted. Ranges include both ends.
struct RowQuery
{
    enum class Order
    {
        None,
        Time, ///< of item_time
        Utc
    };

    bool Wants(const Chunk& range) const;
    bool Wants(const HistoryRow& row) const;

    std::optional<QByteArray> Controller;
    std::optional<QByteArray> Item;
    qint64 FromLocal = Chunk::Lowest;
    qint64 ToLocal = Chunk::Highest;
    qint64 FromUtc = Chunk::Lowest;
    qint64 ToUtc = Chunk::Highest;
    Order By = Order::None;
    bool IsDescending = false;
};

/// Where a row stands, until what is before it in its block changes places: blocks keep the places of removed rows.
struct RowPlace
{
    qint64 Partition = 0;
    qint64 Chunk = 0;
    qint64 Block = 0;
    qint64 Index = 0;
};

/// Goes through the rows of all partitions in the wanted order, and loads chunks only when their time has come.
class RowSweep
{
public:
    /// Throws DescribedError.
    RowSweep(PartitionReadersRef partitions, RowQuery query);
    ~RowSweep();

    /// Goes to the next row, at first to the first one; false at the end. Throws DescribedError.
    bool Next();
    const HistoryRow& Row() const;
    const ItemName& Name() const;
    RowPlace Place() const;

private:
    struct Open;
    struct Loaded;
    struct Stop;

    static bool ComesLater(const RowQuery& query, const Stop& stop, const Stop& other);
    qint64 KeyOf(const Chunk& range) const;
    qint64 KeyOf(const HistoryRow& row) const;
    bool Step();
    void Push(Stop&& stop);
    Stop Pop();
    void Expand(const PartitionFile& file);
    void Load(const std::shared_ptr<Open>& partition, const Chunk& chunk);

    const PartitionReadersRef m_Partitions;
    const RowQuery m_Query;
    std::vector<Stop> m_Stops; ///< a heap
    std::unique_ptr<Stop> m_Now;
};
