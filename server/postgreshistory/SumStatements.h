#pragma once

#include <QString>

/// Lengths of time in microseconds.
constexpr qint64 MinuteLength = 60'000'000;
constexpr qint64 HourLength = 60 * MinuteLength;
constexpr qint64 DayLength = 24 * HourLength;

/// The columns of {blocks} but the day; {kept_hours} has just these.
QString SumColumns();
/// An expression: `utc` rounded down to a multiple of `length`.
QString RoundedDown(const QString& utc, qint64 length);
/// A statement that sums up rows by item and minute.
QString SummedUp(const QString& rows);
/// A statement that sums up such sums by item and longer times.
QString SummedUp(const QString& sums, qint64 length);
