#include "core/automation/Calendar.h"

#include <cmath>

namespace Calendar {

namespace {

constexpr QDate DayZero = QDate::fromJulianDay(2'415'019); // 1899-12-30

} // namespace

QDate DateOf(qint64 day)
{
    return DayZero.addDays(day);
}

qint64 DayOf(QDate date)
{
    return DayZero.daysTo(date);
}

Date Join(qint64 day, double timeOfDay)
{
    const auto days = static_cast<double>(day);
    return Date{day < 0 ? days - timeOfDay : days + timeOfDay};
}

double TimeOfDay(Date date)
{
    return std::abs(date.Days - std::trunc(date.Days));
}

bool IsInRange(Date date)
{
    const double day = std::trunc(date.Days);
    return day >= static_cast<double>(FirstDay) && day <= static_cast<double>(LastDay);
}

} // namespace Calendar
