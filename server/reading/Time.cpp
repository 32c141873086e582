#include "server/reading/Time.h"

#include "core/automation/Calendar.h"
#include "core/automation/Errors.h"
#include "server/plant/Convert.h"
#include "velsqllib/DateText.h"

#include <QDateTime>
#include <QRegularExpression>

#include <cmath>

namespace {

constexpr qint64 SecondsADay = 86'400;
constexpr double MicrosADay = static_cast<double>(SecondsADay * MicrosASecond);
/// Beyond, a double would not hold each of them: the year 2255.
constexpr double LastMicros = 9.0e15;

/// A clock's time as if it were UTC.
Micros Unzoned(Date date)
{
    const auto day = static_cast<qint64>(date.Days);
    const qint64 dayOf1970 = Calendar::DateOf(day).toJulianDay() - QDate(1970, 1, 1).toJulianDay();
    return dayOf1970 * SecondsADay * MicrosASecond + std::llround(Calendar::TimeOfDay(date) * MicrosADay);
}

qint64 FloorToSecond(Micros time)
{
    return (time - (time % MicrosASecond + MicrosASecond) % MicrosASecond) / MicrosASecond;
}

/// Local time that comes twice is the first one; local time that is left out is the time after the clock change.
Micros FromLocal(Micros unzoned)
{
    const qint64 second = FloorToSecond(unzoned);
    const QDateTime clock = QDateTime::fromSecsSinceEpoch(second, Qt::UTC);
    const QDateTime local(clock.date(), clock.time(), Qt::LocalTime);
    qint64 utc = local.toSecsSinceEpoch();
    for (const qint64 change : {3600, 1800, 7200}) {
        const QDateTime earlier = QDateTime::fromSecsSinceEpoch(utc - change);
        if (earlier.date() != local.date() || earlier.time() != local.time()) continue;
        utc -= change;
        break;
    }
    return utc * MicrosASecond + (unzoned - second * MicrosASecond);
}

Micros FromText(const QString& text)
{
    static const QRegularExpression zoned(QStringLiteral("^(.*\\d)\\s*(?:(Z)|([+-])(\\d\\d):?(\\d\\d))$"));
    const auto match = zoned.match(text.trimmed());
    if (!match.hasMatch()) return FromLocal(Unzoned(ReadDate(text)));
    const qint64 minutes = match.captured(4).toInt() * 60 + match.captured(5).toInt();
    const qint64 offset = (match.captured(3) == u"-" ? -60 : 60) * minutes;
    return Unzoned(ReadDate(match.captured(1))) - offset * MicrosASecond;
}

} // namespace

Variant LocalClock::DateOf(Micros utc)
{
    const qint64 second = FloorToSecond(utc);
    if (m_Second != second) {
        const QDateTime local = QDateTime::fromSecsSinceEpoch(second);
        m_Second = second;
        m_Day = Calendar::DayOf(local.date());
        m_SecondOfDay = local.time().msecsSinceStartOfDay() / 1000;
        m_IsSayable = m_Day >= Calendar::FirstDay && m_Day <= Calendar::LastDay;
    }
    if (!m_IsSayable) return Null{};
    const Micros ofDay = m_SecondOfDay * MicrosASecond + (utc - second * MicrosASecond);
    return Calendar::Join(m_Day, static_cast<double>(ofDay) / MicrosADay);
}

std::optional<Micros> ToMicros(const Variant& value)
{
    if (value.IsEmpty() || value.IsNull()) return std::nullopt;
    if (const Date* date = value.GetIf<Date>()) {
        if (!Calendar::IsInRange(*date)) throw ValueError::Overflow();
        return FromLocal(Unzoned(*date));
    }
    if (const QString* text = value.GetIf<QString>()) return FromText(*text);
    const auto number = value.GetIf<bool>() ? std::nullopt : NumberOf(value);
    if (!number) throw ValueError::TypeMismatch();
    if (!(std::abs(*number) <= LastMicros)) throw ValueError::Overflow();
    return std::llround(*number);
}
