#pragma once

#include "server/database/HistoryTable.h"
#include "server/postgreshistory/Layout.h"
#include "server/postgreshistory/Partitions.h"
#include "server/postgreshistory/RowFeed.h"
#include "server/postgreshistory/Upkeep.h"

#include <optional>

/// The history's table in a PostgreSQL database: partitioned, or somebody's own with the four columns. item_value is
/// text, so an average of texts is defined in the database.
class PostgresTable final : public HistoryTable
{
public:
    /// Makes what is missing. Throws DescribedError.
    explicit PostgresTable(const HistoryDestination& destination);

private:
    using Clock = std::chrono::steady_clock;

    void Prepare(std::span<const RecordedValue> values) override;
    void Insert(std::span<const RecordedValue> values) override;
    void Trim() override;
    void RolledBack() override { m_Count = -1; }

    void FindLayout();
    bool HasLayout(Layout::Kind found, const Layout& layout) const;
    void MakeFlat() const;
    void TeachAverage() const;
    QString TargetOf(const QString& time) const;
    void AddRow(const RecordedValue& value, const QString& time);
    void Send(const QString& target);
    void NoteRate(std::size_t count);

    const LayoutNames m_Names;
    Partitions m_Partitions;
    bool m_IsPartitioned = false;
    QStringList m_Columns;
    std::optional<RowFeed> m_Feed;
    const std::shared_ptr<WriteProgress> m_Progress = std::make_shared<WriteProgress>();
    /// The partition that the last value went to; copied, because the list changes.
    Partition m_Current;
    Clock::time_point m_NextTry = Clock::now(); ///< to make a partition that is missing
    Clock::time_point m_RateSince = Clock::now();
    double m_RateCount = 0.0;
    /// Rows in the table; -1 while not counted.
    qint64 m_Count = -1;
    std::optional<Upkeep> m_Upkeep;
};
