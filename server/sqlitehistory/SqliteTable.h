#pragma once

#include "server/database/HistoryTable.h"
#include "server/sqlitehistory/PartitionFolder.h"
#include "server/sqlitehistory/PartitionWriter.h"
#include "server/sqlitehistory/Retention.h"
#include "server/sqlitehistory/Takeover.h"

/// The history's table beside an SQLite file: recording adds to the newest partition.
class SqliteTable final : public HistoryTable
{
public:
    /// Creates the database when it is missing. Throws DescribedError.
    explicit SqliteTable(const HistoryDestination& destination);
    ~SqliteTable() override;

    bool IsGone() const override;
    void Write(std::span<const RecordedValue> values, SpoolPosition position) override;
    bool Survives(const DescribedError& error) const override;
    quint64 Written(quint64 spool) const override;
    void Forget(quint64 spool) const override;

private:
    using Clock = std::chrono::steady_clock;

    void Insert(std::span<const RecordedValue> values) override;
    void Trim() override;
    void RolledBack() override;

    static void MakeWhole(const SqliteConnection& moved);
    void OpenNewest();
    std::unique_ptr<PartitionWriter> WriterFor(const PartitionFile& file) const;
    void Use(const PartitionFile& file, std::unique_ptr<PartitionWriter> writer);
    void GoToNext();
    void OrderLog();
    qint64 NumberOf(const RecordedValue& value);
    qint32 OffsetAt(qint64 utc);

    const QString m_Path;
    const SqliteConnection m_Database; ///< holds what operators keep there
    const PartitionFolder m_Folder;
    Retention m_Retention;
    PartitionFile m_File;
    std::unique_ptr<PartitionWriter> m_Writer;
    QHash<std::pair<QString, QString>, qint64> m_Numbers; ///< of items, in this partition
    qint64 m_RowsInLog = 0;                               ///< -1: not counted
    qint64 m_Added = 0;                                   ///< by the last transaction
    Clock::time_point m_NextLook = Clock::now();
    qint64 m_OffsetMinute = std::numeric_limits<qint64>::min();
    qint32 m_Offset = 0; ///< in that minute
    QString m_Trouble;   ///< what has been said last
    std::optional<Takeover> m_Takeover;
};
