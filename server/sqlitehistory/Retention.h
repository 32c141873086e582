#pragma once

#include "server/database/ClockWatch.h"
#include "server/database/HistoryDestination.h"
#include "server/sqlitehistory/PartitionFolder.h"
#include "server/sqlitehistory/PartitionWriter.h"

/// Lets the oldest go: whole partitions, and where records are counted also parts of one.
class Retention
{
public:
    using Clock = std::chrono::steady_clock;

    /// `say` gets what the log is to know.
    Retention(const HistoryDestination& destination, const PartitionFolder& folder);

    /// When recording begins, with the partition that it goes on in. Throws SqliteError.
    void Begin(PartitionWriter& newest);
    /// Whether a partition that holds this much is to be the last one no longer.
    bool IsFull(const Chunk& range, qint64 bytes) const;
    /// The rows that are put in order together.
    qint64 RowsInChunk() const;
    /// What has to go now; `newest` is open. Also says how long what is kept will be, at first and once a day. Throws
    /// DescribedError.
    void Apply(PartitionWriter& newest);
    /// Only counts records: may be called after each transaction. Throws SqliteError.
    void ApplyCount(PartitionWriter& newest, qint64 added);

private:
    void Count(const std::vector<PartitionFile>& files);
    void DropBySize(std::vector<PartitionFile>& files) const;
    bool IsClockTrusted(PartitionWriter& newest);
    void DropByAge(std::vector<PartitionFile>& files);
    void Report(const std::vector<PartitionFile>& files);

    const HistoryDestination m_Destination;
    const PartitionFolder& m_Folder;
    const qint64 m_MaxBytes; ///< 0: any
    qint64 m_Rows = -1;      ///< of all partitions; -1: not counted
    ClockWatch m_Clock;
    Clock::time_point m_NextReport = Clock::now();
};

/// Without any rule: a tenth of the disk that holds `folder`, at most 10 GB.
qint64 DefaultBytes(const QString& folder);
