#pragma once

#include "core/automation/Variant.h"

#include <QSqlQuery>

struct sqlite3;

/// The rows of a query. When Qt's PostgreSQL driver would lose something (dates beyond the calendar, time zones,
/// microseconds, digits of a numeric), cells are read from the database's own text.
class ResultRows
{
public:
    /// The query must outlive this object.
    explicit ResultRows(QSqlQuery& query);

    /// Throws DescribedError when there is no memory for the row.
    bool Next();
    /// The query's current row.
    QList<Variant> Row() const;

private:
    Variant Cell(int column) const;

    QSqlQuery& m_Query;
    const int m_Columns;
    const bool m_IsPostgreSql;
    sqlite3* const m_Sqlite; ///< null for another database
    const void* m_PostgresRow = nullptr;
};
