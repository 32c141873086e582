#pragma once

#include "core/automation/Variant.h"

#include <QSqlQuery>

/// The rows of a query. When Qt's PostgreSQL driver would lose something (dates beyond the calendar, time zones,
/// microseconds, digits of a numeric), cells are read from the database's own text.
class ResultRows
{
public:
    /// The query must outlive this object.
    explicit ResultRows(QSqlQuery& query);

    bool Next();
    /// The query's current row.
    QList<Variant> Row() const;

private:
    Variant Cell(int column) const;

    QSqlQuery& m_Query;
    const int m_Columns;
    const bool m_IsPostgreSql;
    const void* m_PostgresRow = nullptr;
};
