#include "server/postgreshistory/PostgresRetention.h"

#include "server/log/Log.h"
#include "server/postgreshistory/PartitionCare.h"

#include <QDateTime>

namespace {

using namespace std::chrono_literals;

constexpr qint64 GigaByte = 1'000'000'000;
constexpr qint64 DefaultBytes = 10 * GigaByte;
constexpr double LongestTold = 10 * 365.0 * 86'400; // seconds
constexpr qint64 FewestSeconds = 3600;              // to tell a rate

/// Without {rows_other}: its space counts once the rows that are moved out of it stand in partitions, and not twice.
const QString s_Bytes = QStringLiteral(R"(SELECT coalesce(sum(pg_total_relation_size(inhrelid)), 0)::bigint
 + coalesce(pg_total_relation_size(to_regclass(%4)), 0)
 FROM pg_inherits WHERE inhparent IN (to_regclass(%1), to_regclass(%2))
 AND inhrelid IS DISTINCT FROM to_regclass(%3))");

qint64 MaxBytesOf(const HistoryDestination& destination)
{
    if (destination.MaxBytes) return *destination.MaxBytes;
    const bool hasRule = destination.MaxRecord > 0 || destination.Keep > 0s;
    return hasRule ? 0 : DefaultBytes;
}

QString SizeText(qint64 bytes)
{
    return QStringLiteral("%1 GB").arg(static_cast<double>(bytes) / 1e9, 0, 'f', bytes < GigaByte ? 3 : 1);
}

QString DaysText(double seconds)
{
    return QString::number(seconds / 86'400, 'f', 1);
}

} // namespace

PostgresRetention::PostgresRetention(const DatabaseSession& session, const LayoutNames& names,
                                     const HistoryDestination& destination)
    : m_Session(session)
    , m_Names(names)
    , m_Keep(destination.Keep)
    , m_MaxBytes(MaxBytesOf(destination))
    , m_Memory(session, names)
{
}

bool PostgresRetention::DropNext(const std::vector<Partition>& partitions)
{
    const bool isTrusted = m_Keep > 0s && m_Clock.IsTrusted(m_Memory);
    if (partitions.empty() || partitions.front().IsOpen()) return false;
    const bool isOld = isTrusted && IsTooOld(partitions.front());
    if (!isOld && (m_MaxBytes == 0 || Bytes() <= m_MaxBytes)) return false;
    Drop(partitions.front());
    return true;
}

QString PostgresRetention::Report(const std::vector<Partition>& partitions) const
{
    const QString now = TimeText(QDateTime::currentDateTime());
    const qint64 seconds = partitions.empty() ? 0 : TimeOf(partitions.front().From).secsTo(TimeOf(now));
    const qint64 bytes = Bytes();
    if (seconds < FewestSeconds || bytes == 0) return {};
    const QString& from = partitions.front().From;
    QString text = QStringLiteral("The history takes %1 and goes back to %2.").arg(SizeText(bytes), from);
    if (m_Keep > 0s)
        text += QStringLiteral(" It is kept for %1 days.").arg(DaysText(static_cast<double>(m_Keep.count())));
    if (m_MaxBytes == 0) return text;
    const double lasts = static_cast<double>(m_MaxBytes) / static_cast<double>(bytes) * static_cast<double>(seconds);
    const QString days =
        lasts > LongestTold ? QStringLiteral("more than ten years") : DaysText(lasts) + QStringLiteral(" days");
    return text + QStringLiteral(" At this rate %1 are enough for %2.").arg(SizeText(m_MaxBytes), days);
}

bool PostgresRetention::IsTooOld(const Partition& partition) const
{
    return partition.To < TimeText(QDateTime::currentDateTime().addSecs(-m_Keep.count()));
}

qint64 PostgresRetention::Bytes() const
{
    return m_Session
        .Ask(s_Bytes.arg(LayoutNames::Literal(m_Names.Of(QStringLiteral("rows"))),
                         LayoutNames::Literal(m_Names.Of(QStringLiteral("blocks"))),
                         LayoutNames::Literal(m_Names.Of(QStringLiteral("rows_other"))),
                         LayoutNames::Literal(m_Names.Of(QStringLiteral("kept_hours")))))
        .toLongLong();
}

void PostgresRetention::Drop(const Partition& partition) const
{
    const Partitions names(m_Session, m_Names);
    const QString sums = m_Names.Of(QStringLiteral("blocks_") + partition.From.left(10).remove(u'-'));
    const bool endsDay = partition.To.left(10) > partition.From.left(10);
    InTransaction(m_Session, [&] {
        m_Session.Run(m_Names.Fill(QStringLiteral("LOCK TABLE ONLY {rows}, ONLY {blocks} IN ACCESS EXCLUSIVE MODE")));
        m_Session.Run(QStringLiteral("DROP TABLE ") + names.NameOf(partition));
        if (endsDay) m_Session.Run(QStringLiteral("DROP TABLE IF EXISTS ") + sums);
    });
    // By itself: looking for them takes too long to lock others out meanwhile.
    if (endsDay)
        m_Session.Run(
            m_Names.Fill(QStringLiteral("DELETE FROM {kept_hours} WHERE start_utc <= {utc}('%1') - 3600000000"))
                .arg(partition.To));
    Log(LogLevel::Info,
        QStringLiteral("The history up to %1 has been removed: it is no longer kept.").arg(partition.To));
}
