#pragma once

#include "server/database/Database.h"
#include "server/postgreshistory/PostgresRow.h"

/// Brings rows into a table, by the quickest way that the server proves to support.
class RowFeed
{
public:
    enum class Way
    {
        BinaryCopy, ///< for columns of known types
        Copy,
        Arrays, ///< one array for each column
        Values
    };

    RowFeed(const RowFeed&) = delete;
    RowFeed& operator=(const RowFeed&) = delete;
    virtual ~RowFeed() = default;

    /// Asks the server, with statements that add no rows to `table`. `isOwn`: the table is of this program's layout and
    /// has all columns of a row; others have the first four, of whatever types.
    static std::unique_ptr<RowFeed> Choose(const DatabaseSession& session, const QString& table, bool isOwn);
    /// One that takes this way, whether or not the server supports it.
    static std::unique_ptr<RowFeed> Make(Way way, const DatabaseSession& session, bool isOwn);

    virtual Way How() const = 0;
    /// Rows that are added from now on go into this table. Throws DatabaseError.
    virtual void Begin(const QString& table) = 0;
    /// Throws DescribedError.
    virtual void Add(const PostgresRow& row) = 0;
    /// The table has the rows when this returns. Throws DatabaseError.
    virtual void End() = 0;
    /// What was added since Begin is forgotten.
    virtual void Abandon() = 0;

protected:
    RowFeed() = default;
};
