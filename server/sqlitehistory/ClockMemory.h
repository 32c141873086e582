#pragma once

#include "server/database/ClockWatch.h"
#include "server/sqlitehistory/PartitionWriter.h"

/// What the newest partition remembers of the clock. All of it throws SqliteError.
class ClockMemory final : public ClockWatch::Memory
{
public:
    explicit ClockMemory(PartitionWriter& newest)
        : m_Newest(newest)
    {
    }

    qint64 TrustedFrom() override { return static_cast<qint64>(m_Newest.Written(Place)); }
    void SetTrustedFrom(qint64 second) override;
    std::optional<std::chrono::system_clock::time_point> LastRecord() override;

private:
    /// Among the positions of spools, whose numbers are odd.
    static constexpr quint64 Place = 2;

    PartitionWriter& m_Newest;
};
