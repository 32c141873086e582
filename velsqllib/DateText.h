#pragma once

#include "core/automation/Variant.h"

/// Reads "yyyy-MM-dd", "hh:mm", "hh:mm:ss" (the seconds with up to nine decimals), a date and a time behind it, or
/// the number of days since 1899-12-30. A time alone is one of that day. Throws ValueError, also outside the years
/// 100 to 9999.
Date ReadDate(QStringView text);

/// "yyyy-MM-dd hh:mm:ss", with as many decimals of a second as it takes to read back the same; the number of days for
/// what no clock can say. Throws ValueError outside the years 100 to 9999.
QString WriteDate(Date date);
