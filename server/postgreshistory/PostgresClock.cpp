#include "server/postgreshistory/PostgresClock.h"

#include <QDateTime>

PostgresClock::PostgresClock(const DatabaseSession& session, const LayoutNames& names)
    : m_Session(session)
    , m_Names(names)
    , m_Positions(session, names.Of(QStringLiteral("rows")))
{
    m_Positions.Make();
}

qint64 PostgresClock::TrustedFrom()
{
    return std::max(m_TrustedFrom, static_cast<qint64>(m_Positions.Written(Place)));
}

void PostgresClock::SetTrustedFrom(qint64 second)
{
    m_TrustedFrom = second;
    m_Positions.Note({Place, static_cast<quint64>(second)});
}

std::optional<std::chrono::system_clock::time_point> PostgresClock::LastRecord()
{
    Partitions partitions(m_Session, m_Names);
    partitions.Refresh();
    if (partitions.All().empty()) return std::nullopt;
    const qint64 end = TimeOf(partitions.All().back().To).toMSecsSinceEpoch();
    return std::chrono::system_clock::time_point(std::chrono::milliseconds(end));
}
