#pragma once

#include "core/automation/Variant.h"

/// Reads "yyyy-MM-dd", "hh:mm", "hh:mm:ss" (seconds with up to nine decimals), a date followed by a time, or the number
/// of days since 1899-12-30. A time without a date is one of that day. Throws ValueError, also outside the years 100 to
/// 9999.
Date ReadDate(QStringView text);

/// "yyyy-MM-dd hh:mm:ss", with as many decimals of a second as it takes to read back the same value; the number of days
/// for values that no clock shows. Throws ValueError outside the years 100 to 9999.
QString WriteDate(Date date);
