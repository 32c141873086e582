#pragma once

#include "core/automation/Variant.h"

#include <QDate>

/// How automation dates count: whole days from 1899-12-30, with the time of day counting forwards on both sides of it.
/// -1.25 is six o'clock on 1899-12-29.
namespace Calendar {

inline constexpr qint64 FirstDay = -657'434; ///< 0100-01-01
inline constexpr qint64 LastDay = 2'958'465; ///< 9999-12-31

QDate DateOf(qint64 day);
qint64 DayOf(QDate date);

/// `timeOfDay` is a fraction of a day, from 0 to below 1.
Date Join(qint64 day, double timeOfDay);
double TimeOfDay(Date date);
/// Whether the day is between FirstDay and LastDay; false for a NaN.
bool IsInRange(Date date);

} // namespace Calendar
