#pragma once

#include <QDateTime>
#include <QString>

struct Currency;
struct Date;
class Variant;

/// A value as plain text, without its type: EMPTY "", booleans "True"/"False", numbers shortest with ".", amounts
/// with up to four decimals, dates "yyyy-MM-dd hh:mm:ss". NULL, arrays and objects have no plain text: ValueError
/// "Type mismatch".
QString ToPlainText(const Variant& value);

QString FormatBool(bool value);
/// Up to four decimals, none that say nothing: "12.5", "-0.0001".
QString FormatCurrency(Currency amount);
/// "yyyy-MM-dd hh:mm:ss"; `decimals` asks for three digits behind it when there are milliseconds, six when there are
/// microseconds. Throws ValueError "Overflow" outside the years 100 to 9999.
QString FormatDate(Date date, bool decimals = false);

/// Days before day 0 count their time of day forwards: -1.25 is 1899-12-29 06:00. Rounded to the millisecond.
/// Throws ValueError "Overflow" outside the years 100 to 9999.
QDateTime ToDateTime(Date date);
Date FromDateTime(const QDateTime& dateTime);
