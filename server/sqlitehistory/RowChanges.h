#pragma once

#include "server/sqlitehistory/PartitionFolder.h"
#include "server/sqlitehistory/PartitionWriter.h"
#include "server/sqlitehistory/RowSweep.h"

#include <set>

/// What a row is to say.
struct RowContent
{
    QByteArray Controller;
    QByteArray Item;
    SqlCell Value;
    SqlCell Time; ///< text, blob or NULL, as item_time is to be
};

/// What one statement changes in the partitions: of each of them all or nothing.
class RowChanges
{
public:
    /// From now on nobody else changes the newest partition. Throws DescribedError.
    explicit RowChanges(PartitionFolder folder);
    ~RowChanges();

    // All of these throw DescribedError.
    void Insert(const RowContent& content);
    void Remove(const RowPlace& place);
    void Update(const RowPlace& place, const RowContent& content);
    /// Everything is in order, so that Commit can fail no longer for what the rows say.
    void Prepare();
    void Commit();

private:
    struct Part;
    struct Changed;

    Part& PartOf(const PartitionFile& file, bool create);
    Part& Newest();
    HistoryRow& At(const RowPlace& place);
    void MarkHour(const HistoryRow& row);
    void WriteChanged();
    void Append(const HistoryRow& row);
    void WriteAppended();

    const PartitionFolder m_Folder;
    std::map<qint64, std::unique_ptr<Part>> m_Parts;
    std::unique_ptr<Changed> m_Changed; ///< the block that is being changed
    qint64 m_Last = 0;                  ///< the partition that takes new rows; 0: not known
    RowBlockWriter m_Appended;
    Chunk m_AppendedRange;
};
