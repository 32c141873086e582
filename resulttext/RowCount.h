#pragma once

#include <QString>

/// "1 row", "2 rows".
inline QString CountOfRows(qint64 count)
{
    return count == 1 ? QStringLiteral("1 row") : QStringLiteral("%1 rows").arg(count);
}
