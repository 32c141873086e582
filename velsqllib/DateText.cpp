#include "velsqllib/DateText.h"

#include "core/automation/Calendar.h"
#include "core/automation/NumberText.h"
#include "velsqllib/TextErrors.h"

#include <QDateTime>

#include <bit>
#include <cmath>
#include <optional>

namespace {

constexpr qint64 SecondsADay = 86'400;
constexpr int MostDecimals = 9;

/// A time of day, counted in units of 10^-Decimals seconds.
struct TimeOfDay
{
    qint64 Units = 0;
    int Decimals = 0;
};

qint64 UnitsADay(int decimals)
{
    qint64 units = SecondsADay;
    while (decimals-- > 0) units *= 10;
    return units;
}

Date Join(qint64 day, TimeOfDay time)
{
    return Calendar::Join(day, static_cast<double>(time.Units) / static_cast<double>(UnitsADay(time.Decimals)));
}

[[noreturn]] void ThrowOutside(QStringView text)
{
    throw Outside(text, Calendar::DateOf(Calendar::FirstDay).toString(Qt::ISODate),
                  Calendar::DateOf(Calendar::LastDay).toString(Qt::ISODate));
}

// Each Take function removes what it recognises at the beginning of `text`, or leaves `text` unchanged.

std::optional<int> TakeNumber(QStringView& text, qsizetype fewestDigits, qsizetype mostDigits)
{
    qsizetype length = 0;
    while (length < qMin(text.size(), mostDigits) && text[length] >= u'0' && text[length] <= u'9') ++length;
    if (length < fewestDigits) return std::nullopt;
    const int number = text.first(length).toInt();
    text = text.sliced(length);
    return number;
}

std::optional<int> TakeNumberBehind(QStringView& text, QChar separator)
{
    if (!text.startsWith(separator)) return std::nullopt;
    QStringView rest = text.sliced(1);
    const auto number = TakeNumber(rest, 1, 2);
    if (number) text = rest;
    return number;
}

/// The date's day, counted from day 0.
std::optional<qint64> TakeDay(QStringView& text)
{
    QStringView rest = text;
    const auto year = TakeNumber(rest, 4, 4);
    const QChar separator = rest.startsWith(u'/') ? u'/' : u'-';
    const auto month = TakeNumberBehind(rest, separator);
    const auto dayOfMonth = TakeNumberBehind(rest, separator);
    if (!year || !month || !dayOfMonth) return std::nullopt;
    const QDate date(*year, *month, *dayOfMonth);
    if (!date.isValid()) return std::nullopt;
    text = rest;
    return Calendar::DayOf(date);
}

/// Adds the decimals after the seconds, if there are any.
bool TakeDecimals(QStringView& text, TimeOfDay& time)
{
    if (!text.startsWith(u'.')) return true;
    QStringView rest = text.sliced(1);
    const qsizetype before = rest.size();
    const auto fraction = TakeNumber(rest, 1, MostDecimals);
    if (!fraction) return false;
    time.Decimals = static_cast<int>(before - rest.size());
    time.Units = time.Units * (UnitsADay(time.Decimals) / SecondsADay) + *fraction;
    text = rest;
    return true;
}

std::optional<TimeOfDay> TakeTime(QStringView& text)
{
    QStringView rest = text;
    const auto hour = TakeNumber(rest, 1, 2);
    const auto minute = TakeNumberBehind(rest, u':');
    if (!hour || !minute) return std::nullopt;
    const auto second = TakeNumberBehind(rest, u':');
    if (*hour > 23 || *minute > 59 || second.value_or(0) > 59) return std::nullopt;
    TimeOfDay time{(*hour * 60 + *minute) * 60 + second.value_or(0)};
    if (second && !TakeDecimals(rest, time)) return std::nullopt;
    text = rest;
    return time;
}

/// The blanks or the "T" between date and time.
bool TakeSeparator(QStringView& text)
{
    const QStringView rest = text.startsWith(u'T') ? text.sliced(1) : WithoutOuterBlanks(text);
    const bool found = rest.size() < text.size();
    text = rest;
    return found;
}

/// Date, time, or both.
std::optional<Date> ReadClock(QStringView text)
{
    const auto day = TakeDay(text);
    if (day && text.isEmpty()) return Join(*day, {});
    if (day && !TakeSeparator(text)) return std::nullopt;
    const auto time = TakeTime(text);
    if (!time || !text.isEmpty()) return std::nullopt;
    return Join(day.value_or(0), *time);
}

QString WriteClock(qint64 day, TimeOfDay time)
{
    const qint64 unitsASecond = UnitsADay(time.Decimals) / SecondsADay;
    const QTime clock = QTime::fromMSecsSinceStartOfDay(static_cast<int>(time.Units / unitsASecond * 1000));
    QString text = Calendar::DateOf(day).toString(u"yyyy-MM-dd") + clock.toString(u" hh:mm:ss");
    if (time.Decimals == 0) return text;
    return text + u'.' + QString::number(time.Units % unitsASecond).rightJustified(time.Decimals, u'0');
}

} // namespace

Date ReadDate(QStringView text)
{
    const auto days = ParseNumber(text);
    const auto date = days ? Date{*days} : ReadClock(WithoutOuterBlanks(text));
    if (!date) throw ValueError(Quote(text) + QStringLiteral(" is not a date such as 2024-01-31 12:00:00"));
    if (!Calendar::IsInRange(*date)) ThrowOutside(text);
    return *date;
}

QString WriteDate(Date date)
{
    if (!Calendar::IsInRange(date)) ThrowOutside(FormatDouble(date.Days));
    const auto day = static_cast<qint64>(date.Days);
    for (const int decimals : {0, 3, 4, 5, 6, 7, 8, MostDecimals}) {
        const double units = std::nearbyint(Calendar::TimeOfDay(date) * static_cast<double>(UnitsADay(decimals)));
        const TimeOfDay time{static_cast<qint64>(units), decimals};
        const Date read = Join(day, time);
        const bool same = std::bit_cast<quint64>(read.Days) == std::bit_cast<quint64>(date.Days);
        if (same && time.Units < UnitsADay(decimals)) return WriteClock(day, time);
    }
    return FormatDouble(date.Days);
}
