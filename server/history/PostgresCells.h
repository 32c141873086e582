#pragma once

#include "core/automation/Variant.h"

#include <QSqlQuery>

/// The cells of a query's rows on PostgreSQL. Where Qt's driver would lose something (dates beyond the calendar, time
/// zones, microseconds, digits of a numeric) they are read from the database's own text.
class PostgresCells
{
public:
    /// The query must outlive this object.
    explicit PostgresCells(const QSqlQuery& query);

    /// The row that the query stands on, from now on.
    void NextRow();
    Variant Cell(int column) const;

private:
    const QSqlQuery& m_Query;
    const void* m_Row = nullptr; ///< none: PostgreSQL's library does not tell
};

/// A numeric as R8 where that says the same digits, else as it is.
Variant FromNumericText(const QString& text);
/// A date, a time stamp or a time stamp with its zone, the last one in local time, as DATE where that holds it to the
/// microsecond; else as it is.
Variant FromTimeText(const QString& text);
