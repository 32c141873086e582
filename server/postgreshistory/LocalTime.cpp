#include "server/postgreshistory/LocalTime.h"

#include <QDateTime>

namespace {

constexpr qint64 PerSecond = 1'000'000;

qint64 SecondOf(qint64 microseconds)
{
    return microseconds / PerSecond - (microseconds % PerSecond < 0 ? 1 : 0);
}

} // namespace

qint64 LocalTime::Microseconds(TimeStamp time)
{
    return std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch()).count();
}

qint64 LocalTime::Of(TimeStamp time)
{
    const qint64 utc = Microseconds(time);
    const qint64 second = SecondOf(utc);
    if (second != std::exchange(m_Second, second))
        m_Offset = QDateTime::fromSecsSinceEpoch(second).offsetFromUtc() * PerSecond;
    return utc + m_Offset;
}

const QString& LocalTime::Spell(qint64 local)
{
    const qint64 second = SecondOf(local);
    if (second != std::exchange(m_SpelledSecond, second))
        m_SecondText = QDateTime::fromSecsSinceEpoch(second, Qt::UTC).toString(u"yyyy-MM-dd hh:mm:ss.");
    m_Text = m_SecondText + QString::number(local - second * PerSecond).rightJustified(6, u'0');
    return m_Text;
}
