#pragma once

#include <QDateTime>
#include <QString>

struct Currency;
struct Date;
class Variant;

/// A value as plain text, without its type: EMPTY is "", booleans are "True" and "False", numbers the shortest text
/// with ".", amounts have up to four decimals, dates are "yyyy-MM-dd hh:mm:ss". NULL, arrays and objects have no plain
/// text: ValueError "Type mismatch".
QString ToPlainText(const Variant& value);

QString FormatBool(bool value);
/// With up to four decimals, without zeros at the end: "12.5", "-0.0001".
QString FormatCurrency(Currency amount);
/// "yyyy-MM-dd hh:mm:ss"; with `decimals` also three digits for milliseconds or six for microseconds, if there are any.
/// Throws ValueError "Overflow" outside the years 100 to 9999.
QString FormatDate(Date date, bool decimals = false);

/// Before day 0 the time of day still counts forwards: -1.25 is 1899-12-29 06:00. Rounded to the millisecond. Throws
/// ValueError "Overflow" outside the years 100 to 9999.
QDateTime ToDateTime(Date date);
Date FromDateTime(const QDateTime& dateTime);
