#include "server/postgreshistory/KeptSums.h"

#include "server/postgreshistory/Partitions.h"
#include "server/postgreshistory/SumStatements.h"

#include <QDateTime>

namespace {

constexpr qint64 BlockMargin = 2 * 86'400; // seconds by which a day here and a day of UTC differ at most, and more

/// The first day of UTC whose hours are not kept, while that is over for two hours: of two equal local times, when clocks
/// are set back, the database takes the later one.
QString NextDay()
{
    return QStringLiteral(
               "SELECT hours_until FROM {closed} WHERE until > '-infinity' AND hours_until + %1 <= {utc}(until)")
        .arg(DayLength + 2 * HourLength);
}

} // namespace

KeptSums::KeptSums(const DatabaseSession& session, const LayoutNames& names)
    : m_Session(session)
    , m_Names(names)
{
}

void KeptSums::SumUp(const QString& table, const Partition& partition) const
{
    const QString day = partition.From.left(10);
    MakeDayOfBlocks(day);
    Run(QStringLiteral("INSERT INTO {blocks} SELECT *, date '%2' FROM (%1) AS s").arg(SummedUp(table), day));
    // No value of the partition is older.
    const QString oldest = QStringLiteral("({utc}('%1') - %2)").arg(partition.From).arg(2 * HourLength);
    Run(QStringLiteral("UPDATE {closed} SET hours_until = %1 WHERE hours_until IS NULL")
            .arg(RoundedDown(oldest, DayLength)));
    // Nearly always it is later than all kept hours.
    if (Ask(QStringLiteral("SELECT %1 < hours_until FROM {closed}").arg(oldest)).toBool())
        SumUpHoursAgain(QStringLiteral("(SELECT * FROM {blocks} WHERE day = '%1')").arg(day));
}

void KeptSums::SumUpChanged() const
{
    Run(QStringLiteral("CREATE TEMPORARY TABLE anew ON COMMIT DROP AS SELECT DISTINCT * FROM "
                       "(SELECT * FROM {changed} LIMIT 20000) AS first_ones"));
    for (const QString& table : {QStringLiteral("{changed}"), QStringLiteral("{blocks}")})
        Run(QStringLiteral("DELETE FROM %1 AS c USING anew AS a WHERE c.controller_name = a.controller_name AND "
                           "c.item_name = a.item_name AND c.start_utc = a.start_utc")
                .arg(table));
    Run(QStringLiteral("DELETE FROM {changed} WHERE controller_name IS NULL OR item_name IS NULL"));
    const QString days =
        Ask(QStringLiteral("SELECT string_agg(DISTINCT to_timestamp(start_utc / 1e6)::date::text, ' ') FROM anew"))
            .toString();
    for (const QString& day : days.split(u' ', Qt::SkipEmptyParts)) MakeDayOfBlocks(day);
    const QString rows = QStringLiteral("(SELECT r.* FROM anew AS a JOIN {rows} AS r ON r.controller_name = "
                                        "a.controller_name AND r.item_name = a.item_name AND r.item_utc >= "
                                        "a.start_utc AND r.item_utc < a.start_utc + 60000000 WHERE r.item_time < "
                                        "(SELECT until FROM {closed}) AND r.tableoid <> '{rows_other}'::regclass) "
                                        "AS r");
    Run(QStringLiteral("INSERT INTO {blocks} SELECT *, to_timestamp(start_utc / 1e6)::date FROM (%1) AS s")
            .arg(SummedUp(rows)));
    SumUpHoursAgain(QStringLiteral("anew"));
}

bool KeptSums::IsDayOver() const
{
    return !Ask(NextDay()).isNull();
}

void KeptSums::KeepDay() const
{
    const qint64 start = Ask(NextDay()).toLongLong();
    const auto date = [&](qint64 seconds) {
        return QDateTime::fromSecsSinceEpoch(start / 1'000'000 + seconds, Qt::UTC).date().toString(Qt::ISODate);
    };
    const QString minutes = QStringLiteral("(SELECT * FROM {blocks} WHERE start_utc >= %1 AND start_utc < %2 AND day "
                                           "BETWEEN '%3' AND '%4')")
                                .arg(start)
                                .arg(start + DayLength)
                                .arg(date(-BlockMargin), date(BlockMargin));
    Run(QStringLiteral("INSERT INTO {kept_hours} ") + SummedUp(minutes, HourLength));
    Run(QStringLiteral("UPDATE {closed} SET hours_until = %1").arg(start + DayLength));
}

/// A part of {blocks} for a day.
void KeptSums::MakeDayOfBlocks(const QString& day) const
{
    const QString name = m_Names.Of(QStringLiteral("blocks_") + QString(day).remove(u'-'));
    if (!Ask(QStringLiteral("SELECT to_regclass(%1)").arg(LayoutNames::Literal(name))).isNull()) return;
    const qint64 start = TimeOf(day + QStringLiteral(" 00:00:00")).toSecsSinceEpoch();
    // With the second check the database knows where not to look for a time.
    Run(QStringLiteral(
            "CREATE TABLE %1 (LIKE {blocks}, CHECK (day = '%2'), CHECK (start_utc >= %3 AND start_utc < %4))")
            .arg(name, day)
            .arg((start - BlockMargin) * 1'000'000)
            .arg((start + 86'400 + BlockMargin) * 1'000'000));
    m_Session.Run(QStringLiteral("CREATE INDEX ON %1 (controller_name, item_name, start_utc)").arg(name));
    Run(QStringLiteral("ALTER TABLE {blocks} ATTACH PARTITION %1 FOR VALUES IN ('%2')").arg(name, day));
}

/// Those kept hours in which `minutes` lie, a relation with controller_name, item_name and start_utc.
void KeptSums::SumUpHoursAgain(const QString& minutes) const
{
    Run(QStringLiteral("CREATE TEMPORARY TABLE hours_anew ON COMMIT DROP AS SELECT DISTINCT controller_name, "
                       "item_name, %2 AS hour_utc FROM %1 AS m WHERE start_utc < (SELECT hours_until FROM {closed})")
            .arg(minutes, RoundedDown(QStringLiteral("start_utc"), HourLength)));
    const QString isSame = QStringLiteral("h.controller_name = a.controller_name AND h.item_name = a.item_name AND ");
    Run(QStringLiteral("DELETE FROM {kept_hours} AS h USING hours_anew AS a WHERE %1 h.start_utc = a.hour_utc")
            .arg(isSame));
    const QString sums = QStringLiteral("(SELECT h.* FROM hours_anew AS a JOIN {blocks} AS h ON %1 h.start_utc >= "
                                        "a.hour_utc AND h.start_utc < a.hour_utc + %2)")
                             .arg(isSame)
                             .arg(HourLength);
    Run(QStringLiteral("INSERT INTO {kept_hours} ") + SummedUp(sums, HourLength));
}
