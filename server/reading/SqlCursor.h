#pragma once

#include "server/database/Database.h"

#include <memory>

/// The rows of a question, read forwards. On SQLite by its own library, because Qt's query costs several times as much.
class SqlCursor
{
public:
    /// `question` has a "?" for each of the `arguments`, which are texts and whole numbers. Throws DatabaseError, as
    /// Next does.
    static std::unique_ptr<SqlCursor> Open(const DatabaseSession& session, const QString& question,
                                           const QVariantList& arguments);
    virtual ~SqlCursor() = default;

    virtual bool Next() = 0;
    virtual bool IsNull(int column) const = 0;
    virtual qint64 Integer(int column) const = 0;
    virtual double Number(int column) const = 0;
    virtual QString Text(int column) const = 0;
};
