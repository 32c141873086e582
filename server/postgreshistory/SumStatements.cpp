#include "server/postgreshistory/SumStatements.h"

QString SumColumns()
{
    return QStringLiteral("controller_name, item_name, start_utc, value_count, number_count, smallest, largest, "
                          "first_value, last_value, number_sum, worst_state");
}

QString RoundedDown(const QString& utc, qint64 length)
{
    return QStringLiteral("%1 - mod(mod(%1, %2) + %2, %2)").arg(utc).arg(length);
}

QString SummedUp(const QString& rows)
{
    return QStringLiteral(R"(SELECT controller_name, item_name, {minute}(item_utc) AS start_utc,
 count(*) AS value_count, count(*) FILTER (WHERE good) AS number_count,
 min(value_number) FILTER (WHERE good) AS smallest, max(value_number) FILTER (WHERE good) AS largest,
 (array_agg(value_number ORDER BY item_utc) FILTER (WHERE good))[1] AS first_value,
 (array_agg(value_number ORDER BY item_utc DESC) FILTER (WHERE good))[1] AS last_value,
 sum(value_number) FILTER (WHERE good) AS number_sum,
 CASE WHEN bool_or(item_state = 1) THEN 1 ELSE max(item_state) END AS worst_state
 FROM (SELECT *, item_state = 0 AND value_number IS NOT NULL AS good FROM %1) AS source
 WHERE item_utc IS NOT NULL GROUP BY 1, 2, 3)")
        .arg(rows);
}

QString SummedUp(const QString& sums, qint64 length)
{
    return QStringLiteral(R"(SELECT controller_name, item_name, %2 AS start_utc,
 sum(value_count)::bigint AS value_count, sum(number_count)::bigint AS number_count,
 min(smallest) AS smallest, max(largest) AS largest,
 (array_agg(first_value ORDER BY start_utc) FILTER (WHERE number_count > 0))[1] AS first_value,
 (array_agg(last_value ORDER BY start_utc DESC) FILTER (WHERE number_count > 0))[1] AS last_value,
 sum(number_sum) AS number_sum,
 CASE WHEN bool_or(worst_state = 1) THEN 1 ELSE max(worst_state) END AS worst_state
 FROM %1 AS s GROUP BY 1, 2, 3)")
        .arg(sums, RoundedDown(QStringLiteral("start_utc"), length));
}
