#include "server/postgreshistory/Partitions.h"

#include <QDateTime>
#include <QSqlQuery>

#include <algorithm>

namespace {

const QString s_Format = QStringLiteral("yyyy-MM-dd hh:mm:ss");

const QString s_List = QStringLiteral(R"(SELECT c.relname, b[1], b[2]
 FROM pg_inherits i JOIN pg_class c ON c.oid = i.inhrelid,
 regexp_match(pg_get_expr(c.relpartbound, c.oid), 'FROM \(''([^'']*)''\) TO \(''([^'']*)''\)') AS b
 WHERE i.inhparent = to_regclass(%1) AND b IS NOT NULL ORDER BY b[1])");

const QString s_ClosedUntil = QStringLiteral("SELECT CASE WHEN until = '-infinity' THEN '' ELSE "
                                             "to_char(until, 'YYYY-MM-DD HH24:MI:SS') END FROM {closed}");

} // namespace

QString TimeText(const QDateTime& time)
{
    return time.toString(s_Format);
}

QDateTime TimeOf(const QString& text)
{
    // Reckoned with as times without a zone, as the database does.
    return QDateTime(QDate::fromString(text.left(10), Qt::ISODate), QTime::fromString(text.mid(11, 8), Qt::ISODate),
                     Qt::UTC);
}

QString PartitionName(const LayoutNames& names, const QString& part, const QString& from)
{
    return names.Bare(part) + TimeOf(from).toString(u"yyyyMMdd_hhmm");
}

Partitions::Partitions(const DatabaseSession& session, const LayoutNames& names)
    : m_Session(session)
    , m_Names(names)
{
}

void Partitions::Refresh()
{
    m_ClosedUntil = m_Session.Ask(m_Names.Fill(s_ClosedUntil)).toString();
    QSqlQuery query(m_Session.Database());
    query.setForwardOnly(true);
    if (!query.exec(s_List.arg(LayoutNames::Literal(m_Names.Of(QStringLiteral("rows"))))))
        throw DatabaseError(query.lastError());
    m_All.clear();
    while (query.next())
        m_All.push_back({query.value(0).toString(), query.value(1).toString(), query.value(2).toString()});
}

const Partition* Partitions::At(const QString& time) const
{
    const auto behind = std::ranges::upper_bound(m_All, time, {}, &Partition::From);
    if (behind == m_All.begin() || !std::prev(behind)->Holds(time)) return nullptr;
    return &*std::prev(behind);
}

void Partitions::MakeOpen(const QString& time, int width)
{
    Refresh();
    if (At(time)) return;
    const qint64 seconds = TimeOf(time).toSecsSinceEpoch();
    const auto edge = [](qint64 at) { return TimeText(QDateTime::fromSecsSinceEpoch(at, Qt::UTC)); };
    Partition made = {{}, edge(seconds - seconds % width), edge(seconds - seconds % width + width)};
    const bool overlaps = std::ranges::any_of(
        m_All, [&](const Partition& other) { return other.From < made.To && made.From < other.To; });
    if (overlaps && width > Narrow) return MakeOpen(time, Narrow);
    if (overlaps) return;
    made.Name = PartitionName(m_Names, QStringLiteral("rows_o"), made.From);
    m_Session.Run(QStringLiteral("BEGIN"));
    try {
        // Whoever reads must not wait behind this, which waits for those who read already.
        m_Session.Run(QStringLiteral("SET LOCAL lock_timeout = '200ms'"));
        MakeTable(made);
        Attach(made);
        m_Session.Run(QStringLiteral("COMMIT"));
    } catch (const DatabaseError&) {
        m_Session.Database().rollback();
        throw;
    }
    Refresh();
}

void Partitions::MakeTable(const Partition& partition) const
{
    m_Session.Run(m_Names.Fill(QStringLiteral("CREATE TABLE %1 (LIKE {rows})")).arg(NameOf(partition)));
    // Local times differ from UTC by less than 15 hours: with this the database knows where not to look for a UTC time.
    const qint64 margin = 15 * 3600;
    m_Session.Run(QStringLiteral("ALTER TABLE %1 ADD CHECK (item_time >= '%2' AND item_time < '%3'), "
                                 "ADD CHECK (item_utc >= %4 AND item_utc < %5), ALTER item_time SET NOT NULL")
                      .arg(NameOf(partition), partition.From, partition.To)
                      .arg((TimeOf(partition.From).toSecsSinceEpoch() - margin) * 1'000'000)
                      .arg((TimeOf(partition.To).toSecsSinceEpoch() + margin) * 1'000'000));
}

void Partitions::Attach(const Partition& partition) const
{
    m_Session.Run(
        m_Names.Fill(QStringLiteral("ALTER TABLE {rows} ATTACH PARTITION %1 FOR VALUES FROM ('%2') TO ('%3')"))
            .arg(NameOf(partition), partition.From, partition.To));
}

QString Partitions::NameOf(const Partition& partition) const
{
    const QString some = m_Names.Of(QStringLiteral("rows"));
    const QString schema = some.left(some.size() - m_Names.Bare(QStringLiteral("rows")).size() - 2);
    return schema + u'"' + QString(partition.Name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}
