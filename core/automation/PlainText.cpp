#include "core/automation/PlainText.h"

#include "core/automation/Calendar.h"
#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/Variant.h"

#include <cmath>

namespace {

constexpr double MillisecondsADay = 86'400'000.0;
constexpr qint64 MicrosecondsADay = 86'400'000'000;
// Beyond them a date is too coarse for microseconds.
constexpr double MostExactDays = 65'536.0;

qint64 MicrosecondsOf(Date date)
{
    return std::llround(Calendar::TimeOfDay(date) * static_cast<double>(MicrosecondsADay));
}

QString FormatToTheMicrosecond(Date date)
{
    const qint64 microseconds = MicrosecondsOf(date);
    const QTime time = QTime::fromMSecsSinceStartOfDay(static_cast<int>(microseconds / 1000));
    return Calendar::DateOf(static_cast<qint64>(date.Days)).toString(u"yyyy-MM-dd") + time.toString(u" hh:mm:ss.zzz") +
           QString::number(microseconds % 1000).rightJustified(3, u'0');
}

template <typename T>
QString PlainPayload(const T& payload)
{
    if constexpr (std::is_same_v<T, std::monostate>) return QString();
    else if constexpr (std::is_same_v<T, bool>) return FormatBool(payload);
    else if constexpr (std::is_same_v<T, float>) return FormatSingle(payload);
    else if constexpr (std::is_same_v<T, double>) return FormatDouble(payload);
    else if constexpr (std::is_same_v<T, Currency>) return FormatCurrency(payload);
    else if constexpr (std::is_same_v<T, Date>) return FormatDate(payload);
    else if constexpr (std::is_same_v<T, QString>) return payload;
    else if constexpr (std::is_integral_v<T>) return QString::number(payload);
    else throw ValueError::TypeMismatch();
}

} // namespace

QString ToPlainText(const Variant& value)
{
    return std::visit([](const auto& payload) { return PlainPayload(payload); }, value.Data());
}

QString FormatBool(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

QString FormatCurrency(Currency amount)
{
    const bool negative = amount.TenThousandths < 0;
    const quint64 magnitude =
        negative ? ~static_cast<quint64>(amount.TenThousandths) + 1 : static_cast<quint64>(amount.TenThousandths);
    QString text = QString::number(magnitude / 10000);
    if (const quint64 decimals = magnitude % 10000) {
        text += u'.' + QString::number(decimals).rightJustified(4, u'0');
        while (text.endsWith(u'0')) text.chop(1);
    }
    return negative ? u'-' + text : text;
}

QString FormatDate(Date date, bool decimals)
{
    const QDateTime dateTime = ToDateTime(date);
    if (decimals && std::abs(date.Days) < MostExactDays && MicrosecondsOf(date) % 1000 != 0)
        return FormatToTheMicrosecond(date);
    const bool fraction = decimals && dateTime.time().msec() != 0;
    return dateTime.toString(fraction ? u"yyyy-MM-dd hh:mm:ss.zzz" : u"yyyy-MM-dd hh:mm:ss");
}

QDateTime ToDateTime(Date date)
{
    if (!Calendar::IsInRange(date)) throw ValueError::Overflow();
    auto milliseconds = static_cast<qint64>(std::nearbyint(Calendar::TimeOfDay(date) * MillisecondsADay));
    auto wholeDay = static_cast<qint64>(date.Days);
    // The last half millisecond rounds up to the next day.
    if (milliseconds == static_cast<qint64>(MillisecondsADay)) {
        milliseconds = 0;
        ++wholeDay;
    }
    if (wholeDay > Calendar::LastDay) throw ValueError::Overflow();
    // UTC stands for "no zone": an automation date is a wall-clock time and must not jump with daylight saving time.
    return QDateTime(Calendar::DateOf(wholeDay), QTime::fromMSecsSinceStartOfDay(static_cast<int>(milliseconds)),
                     Qt::UTC);
}

Date FromDateTime(const QDateTime& dateTime)
{
    return Calendar::Join(Calendar::DayOf(dateTime.date()), dateTime.time().msecsSinceStartOfDay() / MillisecondsADay);
}
