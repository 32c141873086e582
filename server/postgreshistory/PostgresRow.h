#pragma once

#include "server/database/RecordedValue.h"

#include <optional>

/// A value as PostgreSQL's table keeps it. It refers to the value that it was made of.
struct PostgresRow
{
    /// `local` as LocalTime has it. Throws ValueError for a value that has no text.
    PostgresRow(const RecordedValue& value, qint64 local);

    const QString& Controller;
    const QString& Item;
    std::optional<QString> Value; ///< empty: NULL
    qint64 Local;
    std::optional<double> Number; ///< what the value says as a number, as the database's own function sees it
    qint64 Utc;                   ///< microseconds since 1970
    qint32 State;
};

/// As the database spells a float8, to the last bit.
QString SpelledNumber(double number);
