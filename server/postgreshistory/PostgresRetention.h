#pragma once

#include "server/database/HistoryDestination.h"
#include "server/postgreshistory/PostgresClock.h"

/// Lets the oldest partitions of a history go, by age and by size; each at once, with its space.
class PostgresRetention
{
public:
    PostgresRetention(const DatabaseSession& session, const LayoutNames& names, const HistoryDestination& destination);

    /// Drops the oldest partition that is not kept any longer, never an open one. Returns whether there was one. Throws
    /// DatabaseError.
    bool DropNext(const std::vector<Partition>& partitions);
    /// What is kept, and how long that is at the present rate; empty while there is too little to tell. Throws
    /// DatabaseError.
    QString Report(const std::vector<Partition>& partitions) const;

private:
    bool IsTooOld(const Partition& partition) const;
    qint64 Bytes() const;
    void Drop(const Partition& partition) const;

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
    const std::chrono::seconds m_Keep;
    const qint64 m_MaxBytes; ///< 0: any
    PostgresClock m_Memory;
    ClockWatch m_Clock;
};
