#pragma once

#include "server/postgreshistory/KeptSums.h"
#include "server/postgreshistory/Partitions.h"
#include "server/postgreshistory/WriteProgress.h"

#include <functional>

/// What is done to partitions once they are full. Each step is a transaction that can be broken off and done again.
class PartitionCare
{
public:
    PartitionCare(const DatabaseSession& session, const LayoutNames& names, const WriteProgress& progress);

    /// Makes the partition that `now` (local time) needs and the one behind it. Throws DatabaseError.
    void MakeAhead(const QDateTime& now);
    /// Closes the first partition that is full: indexes, sums. Returns whether there was one. Throws DatabaseError.
    bool CloseNext(const QDateTime& now);
    /// Puts the partitions of a day that is over together and in order. Returns whether there was one. Throws
    /// DatabaseError.
    bool MergeNext();
    /// Moves the rows of a day that no partition was for into one. Returns whether there were any. Throws
    /// DatabaseError.
    bool TidyNext();
    /// Sums up anew what has changed. Returns whether there was anything. Throws DatabaseError.
    bool SumUpChanged() const;
    /// Keeps the hours of a day of UTC that is over. Returns whether there was one. Throws DatabaseError.
    bool KeepNextHours() const;

    const Partitions& All() const { return m_Partitions; }

private:
    void Run(const QString& statement) const { m_Session.Run(m_Names.Fill(statement)); }
    QVariant Ask(const QString& question) const { return m_Session.Ask(m_Names.Fill(question)); }
    bool IsPast(const Partition& partition, const QDateTime& now) const;
    Partition GapAround(const QString& time, bool isOver) const;
    void MakeIndexes(const QString& table, const QString& name) const;
    void MoveOtherRows(const Partition& into) const;
    void LockRows() const;
    void Join(const Partition& partition) const;
    void Merge(const Partition& day, const std::vector<Partition>& parts);

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
    const WriteProgress& m_Progress;
    Partitions m_Partitions;
    const KeptSums m_Sums;
};

/// Does something in a transaction of its own. Throws what that throws, when nothing has changed.
void InTransaction(const DatabaseSession& session, const std::function<void()>& action);
