#pragma once

#include "server/database/HistoryTable.h"
#include "server/postgreshistory/Layout.h"
#include "server/postgreshistory/LocalTime.h"
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

    quint64 Written(quint64 spool) const override { return Positions().WrittenForGood(spool); }

private:
    using Clock = std::chrono::steady_clock;

    /// Where values of a span of local time go.
    struct Target
    {
        QString Name; ///< in quotes
        qint64 From = 0;
        qint64 To = 0;

        bool Holds(qint64 local) const { return From <= local && local < To; }
    };

    void Prepare(std::span<const RecordedValue> values) override;
    void Insert(std::span<const RecordedValue> values) override;
    void Trim() override;
    void RolledBack() override;

    void LookAtClock() const;
    void FindLayout();
    bool HasLayout(Layout::Kind found, const Layout& layout) const;
    void MakeFlat() const;
    void TeachAverage() const;
    void Look();
    void MakePartition(const QString& time);
    Target TargetAt(qint64 local);
    void NoteRate(std::size_t count);

    const LayoutNames m_Names;
    Partitions m_Partitions;
    bool m_IsPartitioned = false;
    std::unique_ptr<RowFeed> m_Feed;
    LocalTime m_Clock;
    const std::shared_ptr<WriteProgress> m_Progress = std::make_shared<WriteProgress>();
    Target m_Target; ///< of the last value
    Clock::time_point m_NextLook = Clock::now();
    Clock::time_point m_NextTry = Clock::now(); ///< to make a partition that is missing
    Clock::time_point m_RateSince = Clock::now();
    double m_RateCount = 0.0;
    /// Rows in the table; -1 while not counted.
    qint64 m_Count = -1;
    std::optional<Upkeep> m_Upkeep;
};
