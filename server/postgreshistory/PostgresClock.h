#pragma once

#include "server/database/ClockWatch.h"
#include "server/database/PositionTable.h"
#include "server/postgreshistory/Partitions.h"

/// What a history in a database remembers of the clock, in the table of positions. All of it throws DatabaseError.
class PostgresClock final : public ClockWatch::Memory
{
public:
    PostgresClock(const DatabaseSession& session, const LayoutNames& names);

    qint64 TrustedFrom() override;
    void SetTrustedFrom(qint64 second) override;
    /// To about an hour: the end of the last partition. What no partition holds does not count.
    std::optional<std::chrono::system_clock::time_point> LastRecord() override;

private:
    /// Among the positions of spools, whose numbers are odd.
    static constexpr quint64 Place = 2;

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
    PositionTable m_Positions;
    qint64 m_TrustedFrom = 0; ///< for a database that forbids the table
};
