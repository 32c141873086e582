#pragma once

#include "server/database/HistoryDestination.h"
#include "server/database/PositionTable.h"

#include <span>

/// A table's name in quotes, each part of "<schema>.<table>" by itself.
QString QuotedName(const QString& name);

/// The history's table, on a database connection of its own: controller_name, item_name, item_value, item_time.
class HistoryTable
{
public:
    HistoryTable(const HistoryTable&) = delete;
    HistoryTable& operator=(const HistoryTable&) = delete;
    virtual ~HistoryTable() = default;

    /// Whether the database has been removed although the connection still works.
    virtual bool IsGone() const { return false; }
    /// Adds the values and notes the position that this reaches, in one transaction. If it throws DatabaseError,
    /// nothing has changed, unless the connection was lost: then Written tells.
    virtual void Write(std::span<const RecordedValue> values, SpoolPosition position);
    /// Whether a Write that failed so has changed nothing for certain, and another one may follow on this connection.
    virtual bool Survives(const DescribedError&) const { return false; }
    /// The last sequence of a spool that has been written; 0 when none is known. Throws DatabaseError.
    virtual quint64 Written(quint64 spool) const { return m_Positions.Written(spool); }
    /// A spool has been emptied and will not come back. Throws DatabaseError.
    virtual void Forget(quint64 spool) const { m_Positions.Forget(spool); }

protected:
    /// The table's name may be "<schema>.<table>". Throws DescribedError when the database cannot be opened.
    explicit HistoryTable(const HistoryDestination& destination);

    const HistoryDestination& Destination() const { return m_Destination; }
    const DatabaseSession& Session() const { return m_Session; }
    /// The table's name in quotes.
    const QString& Name() const { return m_Name; }
    const PositionTable& Positions() const { return m_Positions; }
    /// See PositionTable::Make.
    bool MakePositions() { return m_Positions.Make(); }

private:
    /// Outside the transaction that writes them.
    virtual void Prepare(std::span<const RecordedValue>) {}
    virtual void Insert(std::span<const RecordedValue> values) = 0;
    /// Deletes the oldest beyond what the destination keeps.
    virtual void Trim() = 0;
    /// A write has failed and was rolled back.
    virtual void RolledBack() {}

    const HistoryDestination m_Destination;
    const DatabaseSession m_Session;
    const QString m_Name;
    PositionTable m_Positions;
};
