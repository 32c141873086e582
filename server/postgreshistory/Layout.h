#pragma once

#include "server/database/Database.h"
#include "server/postgreshistory/LayoutNames.h"

/// How a history lies in PostgreSQL: {history}, a view of four columns, on {rows}, a table in partitions by time; the
/// rows that no partition is for yet are in {rows_other}. Minutes of what is closed are summed up in {blocks};
/// {changed} names those that have changed since, {kept_hours} are the hours of the days of UTC that are over.
class Layout
{
public:
    enum class Kind
    {
        Missing,
        Partitioned, ///< this layout
        OldTable,    ///< as earlier versions made it: it can be taken over
        Foreign      ///< somebody's own table, which stays as it is
    };

    Layout(const DatabaseSession& session, const LayoutNames& names);

    /// Throws DatabaseError.
    Kind Find() const;
    /// Whether all of it is there, as this version makes it. Throws DatabaseError.
    bool IsComplete() const;
    /// Makes what is missing, taking over an old table with all its rows; afterwards relations and functions are of this
    /// version. All or nothing. Throws DatabaseError.
    void Make(Kind found) const;

private:
    QString Version() const;
    QString Places(const QStringList& parts) const;
    bool HasSumTables() const;
    void MakeRows(Kind found) const;
    void MakeOther() const;
    void MakeSumTables() const;
    void MakeHourTable() const;
    void MakeFunctions() const;
    void MakeViews() const;
    void Run(const QString& statement) const { m_Session.Run(m_Names.Fill(statement)); }

    const DatabaseSession& m_Session;
    const LayoutNames m_Names;
};
