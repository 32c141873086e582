#pragma once

#include "core/automation/Variant.h"

#include <QDate>

/// How automation dates count: whole days from 1899-12-30, and the time of day forwards on both sides of it. -1.25 is
/// six o'clock of 1899-12-29.
namespace Calendar {

inline constexpr qint64 FirstDay = -657'434; ///< 0100-01-01
inline constexpr qint64 LastDay = 2'958'465; ///< 9999-12-31

QDate DateOf(qint64 day);
qint64 DayOf(QDate date);

/// `timeOfDay` as a part of a day, from 0 to below 1.
Date Join(qint64 day, double timeOfDay);
double TimeOfDay(Date date);
/// Whether its day is one of FirstDay to LastDay; a NaN's is not.
bool IsInRange(Date date);

} // namespace Calendar
