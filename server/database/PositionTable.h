#pragma once

#include "server/database/Database.h"
#include "server/database/RecordedValue.h"

/// How far each spool's values have been written, in the table velsql_positions beside the history's table. It changes
/// in the same transaction as the rows, so that values are written once whatever ends before the answer arrives.
class PositionTable
{
public:
    /// `historyName` is the quoted name of the history's table; the positions are in the same schema.
    PositionTable(const DatabaseSession& session, const QString& historyName);

    /// Creates the table when it is missing. Returns whether positions can be kept; a database may forbid it.
    bool Make();
    /// The last sequence that was written; 0 when none is known. Throws DatabaseError.
    quint64 Written(quint64 spool) const;
    /// The same once a transaction that is changing it has ended: that of a server that was killed may still be under
    /// way in the database. Notes the spool when it is not known.
    quint64 WrittenForGood(quint64 spool) const;
    /// Within a transaction. Throws DatabaseError.
    void Note(SpoolPosition position) const;
    /// For a spool that has been emptied and will not come back. Throws DatabaseError.
    void Forget(quint64 spool) const;

private:
    const DatabaseSession& m_Session;
    const QString m_Name;
    bool m_IsKept = false;
};
