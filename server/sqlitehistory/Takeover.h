#pragma once

#include "server/sqlitehistory/PartitionFolder.h"
#include "server/sqlitehistory/PartitionWriter.h"

#include <stop_token>
#include <thread>

/// Moves the rows of a plain table, as earlier versions kept them or as a backup holds them, into partitions: on a
/// thread of its own, some rows at a time, and going on where it was interrupted. Until a row has been moved it stands
/// in the table, which is called "<table>_old" meanwhile.
class Takeover
{
public:
    /// Begins when there is such a table. Throws SqliteError when the database cannot be read.
    Takeover(const QString& database, const QString& table);

    /// Whether `database` has a table of this name of its own.
    static bool HasPlainTable(const SqliteConnection& database, const QString& table);

private:
    /// Never throws; the log says how it ends.
    void Run(const std::stop_token& stop) const;
    void MoveAll(const std::stop_token& stop) const;
    void Finish(const SqliteConnection& database) const;

    const QString m_Path;
    const PartitionFolder m_Folder;
    const QString m_Table;
    const QString m_Old;
    std::jthread m_Thread; ///< the last one: it uses the others
};
