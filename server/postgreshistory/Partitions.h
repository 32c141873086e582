#pragma once

#include "server/database/Database.h"
#include "server/postgreshistory/LayoutNames.h"

#include <vector>

/// A part of the rows, from a local time on and before another. Times are texts such as "2024-01-31 07:00:00", which
/// sort as the times do.
struct Partition
{
    QString Name; ///< without quotes and schema
    QString From;
    QString To;

    /// Values are copied into it straight. Others change only by statements, which note what they change.
    bool IsOpen() const { return Name.contains(u"_rows_o"); }
    bool Holds(const QString& time) const { return From <= time && time < To; }
};

/// The partitions of a history, by time.
class Partitions
{
public:
    /// Seconds: a partition is as wide as holds some millions of values, or less.
    static constexpr int Narrow = 300;
    static constexpr int Wide = 3600;

    Partitions(const DatabaseSession& session, const LayoutNames& names);

    /// Reads them from the database. Throws DatabaseError.
    void Refresh();
    const std::vector<Partition>& All() const { return m_All; }
    /// Up to this time all is closed; empty when nothing is. What comes later may have an open partition.
    const QString& ClosedUntil() const { return m_ClosedUntil; }
    /// Null when none holds that time.
    const Partition* At(const QString& time) const;
    /// Makes an open one for that time, `width` seconds wide or narrower where others are near. Throws DatabaseError,
    /// also when those who read keep it waiting: then the values go to {rows_other} for now.
    void MakeOpen(const QString& time, int width);

    /// Makes a table for these rows that is no partition yet. Throws DatabaseError.
    void MakeTable(const Partition& partition) const;
    /// Within a transaction. Throws DatabaseError.
    void Attach(const Partition& partition) const;
    /// The name in quotes with its schema.
    QString NameOf(const Partition& partition) const;

private:
    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
    std::vector<Partition> m_All; ///< in order
    QString m_ClosedUntil;
};

/// The name of a partition, from the part of the layout that it is of ("rows_o", "rows_") and the time it begins at.
QString PartitionName(const LayoutNames& names, const QString& part, const QString& from);
/// Local times as partitions spell them.
QString TimeText(const QDateTime& time);
QDateTime TimeOf(const QString& text);
