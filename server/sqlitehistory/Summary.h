#pragma once

#include "server/sqlitehistory/RowBlock.h"

#include <map>
#include <optional>

/// What is kept of an item's values in a minute, an hour or a day. Only good values that are numbers are reckoned with.
struct Summary
{
    void Add(const HistoryRow& row);
    /// Of the same time.
    void Add(const Summary& other);
    std::optional<double> Mean() const;

    qint64 Rows = 0;    ///< of any kind
    qint64 Numbers = 0; ///< good ones; the rest counts only when there are any
    double Smallest = 0.0;
    double Largest = 0.0;
    double Sum = 0.0;
    double First = 0.0;
    double Last = 0.0;
    qint64 FirstUtc = 0;
    qint64 LastUtc = 0;
    qint64 WorstState = 0; ///< 1 (failed) is worse than 2 (undefined), and that than 0 (good)
};

/// Summaries by the moment at which their time begins, in microseconds since 1970-01-01 UTC.
using Summaries = std::map<qint64, Summary>;

/// The beginning of the span that `utc` lies in; spans begin with 1970-01-01 UTC.
qint64 SpanBegin(qint64 utc, qint64 span);

constexpr qint64 Minute = qint64{60} * 1'000'000;
constexpr qint64 Hour = 60 * Minute;
constexpr qint64 Day = 24 * Hour;
