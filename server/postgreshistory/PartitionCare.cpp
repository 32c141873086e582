#include "server/postgreshistory/PartitionCare.h"

#include "server/postgreshistory/RowColumns.h"

#include <QDateTime>

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr int LateSeconds = 60;  // what comes later than this goes into a closed partition
constexpr int IdleSeconds = 120; // nothing has been written for so long: nothing is on its way
constexpr int TriesToLock = 600;
constexpr auto BetweenTries = 300ms; // less than the second after which the database looks for deadlocks
constexpr double RateOfNarrow = 1400.0;
constexpr qint64 RowsWorthMerging = 150'000'000;

const QString s_InOrder =
    QStringLiteral("ORDER BY date_trunc('hour', item_time), controller_name, item_name, item_utc");

const QString s_IsInTheWay = QStringLiteral(
    "SELECT EXISTS (SELECT FROM pg_locks WHERE NOT granted AND pg_backend_pid() = ANY (pg_blocking_pids(pid)))");

QString DayOf(const QString& time)
{
    return time.left(10) + QStringLiteral(" 00:00:00");
}

QString DayAfter(const QString& time)
{
    return TimeText(TimeOf(DayOf(time)).addDays(1));
}

} // namespace

void InTransaction(const DatabaseSession& session, const std::function<void()>& action)
{
    session.Run(QStringLiteral("BEGIN"));
    try {
        // Whoever reads or writes must not wait behind this while it waits for others.
        session.Run(QStringLiteral("SET LOCAL lock_timeout = '200ms'"));
        session.Run(QStringLiteral("SET LOCAL work_mem = '128MB'"));
        action();
        session.Run(QStringLiteral("COMMIT"));
    } catch (...) {
        if (session.Database().isOpen()) session.Database().rollback();
        throw;
    }
}

PartitionCare::PartitionCare(const DatabaseSession& session, const LayoutNames& names, const WriteProgress& progress)
    : m_Session(session)
    , m_Names(names)
    , m_Progress(progress)
    , m_Partitions(session, names)
    , m_Sums(session, names)
{
}

void PartitionCare::MakeAhead(const QDateTime& now)
{
    m_Partitions.Refresh();
    const int width = m_Progress.Rate < RateOfNarrow ? Partitions::Wide : Partitions::Narrow;
    QString time = TimeText(now);
    if (!m_Partitions.At(time)) m_Partitions.MakeOpen(time, Partitions::Narrow);
    if (const Partition* present = m_Partitions.At(time)) time = present->To;
    const bool isSoon = TimeOf(time).toSecsSinceEpoch() - TimeOf(TimeText(now)).toSecsSinceEpoch() < Partitions::Narrow;
    if (isSoon && !m_Partitions.At(time)) m_Partitions.MakeOpen(time, width);
}

bool PartitionCare::CloseNext(const QDateTime& now)
{
    m_Partitions.Refresh();
    const QString until = m_Partitions.ClosedUntil();
    const auto found = std::ranges::find_if(m_Partitions.All(), [&](const Partition& one) { return one.To > until; });
    if (found == m_Partitions.All().end() || !IsPast(*found, now)) return false;
    Partition partition = *found;
    if (partition.IsOpen()) {
        const QString name = PartitionName(m_Names, QStringLiteral("rows_c"), partition.From);
        InTransaction(m_Session, [&] {
            m_Session.Run(QStringLiteral("ALTER TABLE %1 RENAME TO \"%2\"").arg(m_Partitions.NameOf(partition), name));
        });
        partition.Name = name; // nothing is copied into it any more
    }
    InTransaction(m_Session, [&] {
        m_Session.Run(QStringLiteral("LOCK TABLE %1 IN SHARE MODE").arg(m_Partitions.NameOf(partition)));
        MakeIndexes(m_Partitions.NameOf(partition), partition.Name);
        m_Sums.SumUp(m_Partitions.NameOf(partition), partition);
        Run(QStringLiteral("UPDATE {closed} SET until = '%1'").arg(partition.To));
    });
    m_Session.Run(QStringLiteral("ANALYZE ") + m_Partitions.NameOf(partition));
    return true;
}

bool PartitionCare::MergeNext()
{
    m_Partitions.Refresh();
    const QString until = m_Partitions.ClosedUntil();
    const auto isUnsorted = [&](const Partition& one) {
        return one.Name.contains(u"_rows_c") && DayAfter(one.From) <= until;
    };
    const auto found = std::ranges::find_if(m_Partitions.All(), isUnsorted);
    if (found == m_Partitions.All().end()) return false;
    Partition day = {{}, DayOf(found->From), DayAfter(found->From)};
    day.Name = PartitionName(m_Names, QStringLiteral("rows_d"), day.From);
    std::vector<Partition> parts;
    qint64 rows = 0;
    for (const Partition& part : m_Partitions.All()) {
        if (part.From < day.From || part.From >= day.To) continue;
        parts.push_back(part);
        rows += Ask(QStringLiteral("SELECT reltuples::bigint FROM pg_class WHERE oid = to_regclass(%1)")
                        .arg(LayoutNames::Literal(m_Partitions.NameOf(part))))
                    .toLongLong();
    }
    if (rows > RowsWorthMerging) return false; // at such rates the parts are large enough
    Merge(day, parts);
    return true;
}

void PartitionCare::Merge(const Partition& day, const std::vector<Partition>& parts)
{
    InTransaction(m_Session, [&] {
        for (const Partition& part : parts)
            m_Session.Run(QStringLiteral("LOCK TABLE %1 IN SHARE MODE").arg(m_Partitions.NameOf(part)));
        Partition made = day;
        // Late rows of the day may have come into a partition of this name.
        while (std::ranges::find(parts, made.Name, &Partition::Name) != parts.end()) made.Name += u'x';
        m_Partitions.MakeTable(made);
        m_Session.Run(m_Names
                          .Fill(QStringLiteral("INSERT INTO %1 (%5) SELECT %5 FROM {rows} WHERE item_time >= '%2' AND "
                                               "item_time < '%3' AND item_utc IS NOT NULL AND tableoid <> "
                                               "'{rows_other}'::regclass %4"))
                          .arg(m_Partitions.NameOf(made), day.From, day.To, s_InOrder, RowColumns(true)));
        MoveOtherRows(made);
        MakeIndexes(m_Partitions.NameOf(made), made.Name);
        LockRows();
        for (const Partition& part : parts) m_Session.Run(QStringLiteral("DROP TABLE ") + m_Partitions.NameOf(part));
        Join(made);
    });
    m_Partitions.Refresh();
    if (const Partition* merged = m_Partitions.At(day.From))
        m_Session.Run(QStringLiteral("VACUUM (FREEZE, ANALYZE) ") + m_Partitions.NameOf(*merged));
}

bool PartitionCare::TidyNext()
{
    const QVariant oldest =
        Ask(QStringLiteral("SELECT to_char(min(item_time), 'YYYY-MM-DD HH24:MI:SS') FROM {rows_other} "
                           "WHERE item_time > '0100-01-01' AND item_time < '9999-01-01'"));
    if (oldest.isNull()) return false;
    m_Partitions.Refresh();
    const bool isOver = DayAfter(oldest.toString()) <= TimeText(QDateTime::currentDateTime());
    Partition gap = GapAround(oldest.toString(), isOver);
    gap.Name = PartitionName(m_Names, isOver ? QStringLiteral("rows_d") : QStringLiteral("rows_o"), gap.From);
    InTransaction(m_Session, [&] {
        m_Partitions.MakeTable(gap);
        MoveOtherRows(gap);
        if (isOver) MakeIndexes(m_Partitions.NameOf(gap), gap.Name);
        if (gap.To <= m_Partitions.ClosedUntil()) m_Sums.SumUp(m_Partitions.NameOf(gap), gap);
        Join(gap);
    });
    m_Session.Run(QStringLiteral("ANALYZE ") + m_Partitions.NameOf(gap));
    // Gives the space back when nothing is left.
    Run(QStringLiteral("VACUUM {rows_other}"));
    return true;
}

bool PartitionCare::SumUpChanged() const
{
    if (!Ask(QStringLiteral("SELECT EXISTS (SELECT FROM {changed})")).toBool()) return false;
    InTransaction(m_Session, [&] { m_Sums.SumUpChanged(); });
    return true;
}

bool PartitionCare::KeepNextHours() const
{
    if (!m_Sums.IsDayOver()) return false;
    InTransaction(m_Session, [&] { m_Sums.KeepDay(); });
    return true;
}

/// Whether the writer is done with it.
bool PartitionCare::IsPast(const Partition& partition, const QDateTime& now) const
{
    if (partition.To >= TimeText(now.addSecs(-LateSeconds))) return false;
    const auto written = QDateTime::fromMSecsSinceEpoch(m_Progress.Time / 1000);
    if (partition.To < TimeText(written.addSecs(-LateSeconds))) return true;
    return QDateTime::fromMSecsSinceEpoch(m_Progress.WrittenAt / 1000).addSecs(IdleSeconds) < now;
}

/// What no partition is for around `time`: of its day, or of the minutes of a day that is not over. It does not reach
/// over the time up to which all is closed.
Partition PartitionCare::GapAround(const QString& time, bool isOver) const
{
    Partition gap = {{}, DayOf(time), DayAfter(time)};
    if (!isOver) {
        const qint64 begin = TimeOf(time).toSecsSinceEpoch() / Partitions::Narrow * Partitions::Narrow;
        gap.From = TimeText(QDateTime::fromSecsSinceEpoch(begin, Qt::UTC));
        gap.To = TimeText(QDateTime::fromSecsSinceEpoch(begin + Partitions::Narrow, Qt::UTC));
    }
    const QString& until = m_Partitions.ClosedUntil();
    if (time < until) gap.To = std::min(gap.To, until);
    else gap.From = std::max(gap.From, until);
    for (const Partition& other : m_Partitions.All()) {
        if (other.To <= time) gap.From = std::max(gap.From, other.To);
        if (other.From > time) gap.To = std::min(gap.To, other.From);
    }
    return gap;
}

void PartitionCare::MakeIndexes(const QString& table, const QString& name) const
{
    m_Session.Run(QStringLiteral("SET LOCAL maintenance_work_mem = '256MB'"));
    m_Session.Run(QStringLiteral("CREATE INDEX IF NOT EXISTS \"%2_i\" ON %1 (controller_name, item_name, item_utc)")
                      .arg(table, name));
    m_Session.Run(QStringLiteral("CREATE INDEX IF NOT EXISTS \"%2_t\" ON %1 (item_time)").arg(table, name));
}

/// Takes them out of {rows_other} and fills in what rows lack that were there before this layout. In one statement: a
/// second one would also see rows that have come in between.
void PartitionCare::MoveOtherRows(const Partition& into) const
{
    Run(QStringLiteral("WITH moved AS (DELETE FROM {rows_other} WHERE item_time >= '%1' AND item_time < '%2' "
                       "RETURNING *) INSERT INTO %3 (%5) SELECT controller_name, item_name, item_value, item_time, "
                       "coalesce(value_number, {number}(item_value)), coalesce(item_utc, {utc}(item_time)), "
                       "coalesce(item_state, 0) FROM moved %4")
            .arg(into.From, into.To, m_Partitions.NameOf(into), s_InOrder, RowColumns(true)));
}

/// Makes the table a partition, with what came into {rows_other} while it was filled: from the lock on nothing comes.
void PartitionCare::Join(const Partition& partition) const
{
    LockRows();
    MoveOtherRows(partition);
    m_Partitions.Attach(partition);
}

/// Within a transaction that has worked for long: others wait 0.2 s at a time only. Throws DatabaseError also when
/// somebody waits for what this has locked already, for then each would wait for the other.
void PartitionCare::LockRows() const
{
    for (int tries = 1;; ++tries) {
        m_Session.Run(QStringLiteral("SAVEPOINT unlocked"));
        try {
            Run(QStringLiteral("LOCK TABLE ONLY {rows}, ONLY {rows_other} IN ACCESS EXCLUSIVE MODE"));
            return;
        } catch (const DatabaseError&) {
            if (tries == TriesToLock || m_Progress.IsEnding) throw;
            m_Session.Run(QStringLiteral("ROLLBACK TO unlocked"));
            std::this_thread::sleep_for(BetweenTries);
            if (m_Session.Ask(s_IsInTheWay).toBool()) throw;
        }
    }
}
