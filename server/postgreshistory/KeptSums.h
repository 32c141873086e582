#pragma once

#include "server/database/Database.h"
#include "server/postgreshistory/LayoutNames.h"

struct Partition;

/// What is kept of the rows of closed partitions: sums of each item and minute in {blocks}, and in {kept_hours} those of
/// each hour, of the days of UTC that are over. The operations belong into a transaction and throw DatabaseError.
class KeptSums
{
public:
    KeptSums(const DatabaseSession& session, const LayoutNames& names);

    /// Sums up the rows of a table, which are those of a partition.
    void SumUp(const QString& table, const Partition& partition) const;
    /// Sums up anew the first of the minutes that have changed, and their hours.
    void SumUpChanged() const;
    /// Whether a day is over whose hours are not kept yet. Asks for no transaction.
    bool IsDayOver() const;
    /// Keeps the hours of that day.
    void KeepDay() const;

private:
    void Run(const QString& statement) const { m_Session.Run(m_Names.Fill(statement)); }
    QVariant Ask(const QString& question) const { return m_Session.Ask(m_Names.Fill(question)); }
    void MakeDayOfBlocks(const QString& day) const;
    void SumUpHoursAgain(const QString& minutes) const;

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
};
