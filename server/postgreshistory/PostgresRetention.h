#pragma once

#include "server/database/HistoryDestination.h"
#include "server/postgreshistory/Partitions.h"

#include <chrono>

/// Lets the oldest partitions of a history go, by age and by size; each at once, with its space.
class PostgresRetention
{
public:
    using Steady = std::chrono::steady_clock;
    using Wall = std::chrono::system_clock;

    PostgresRetention(const DatabaseSession& session, const LayoutNames& names, const HistoryDestination& destination);

    /// Drops the oldest partition that is not kept any longer, never an open one. Returns whether there was one. Throws
    /// DatabaseError.
    bool DropNext(const std::vector<Partition>& partitions);
    /// What is kept, and how long that is at the present rate; empty while there is too little to tell. Throws
    /// DatabaseError.
    QString Report(const std::vector<Partition>& partitions) const;

private:
    bool IsTooOld(const Partition& partition) const;
    bool IsClockSteady();
    qint64 Bytes() const;
    void Drop(const Partition& partition) const;

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
    const std::chrono::seconds m_Keep;
    const qint64 m_MaxBytes; ///< 0: any
    Steady::time_point m_Looked = Steady::now();
    Wall::time_point m_LookedWall = Wall::now();
    Steady::time_point m_AgeFrom = Steady::now(); ///< retention by age waits until then
};
