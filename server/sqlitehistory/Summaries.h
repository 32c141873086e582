#pragma once

#include "server/database/Summary.h"
#include "server/sqlitehistory/RowBlock.h"

#include <map>

constexpr qint64 Minute = qint64{60} * 1'000'000;
constexpr qint64 Hour = 60 * Minute;
constexpr qint64 Day = 24 * Hour;

/// The beginning of the span that `utc` lies in; spans begin with 1970-01-01 UTC.
qint64 SpanBegin(qint64 utc, qint64 span);

/// Of a row with a moment, in the span that begins with `start`.
Summary SummaryOf(const HistoryRow& row, qint64 start);

/// Summaries by the moment at which their time begins.
using Summaries = std::map<qint64, Summary>;

/// Sums up rows that mostly follow each other in time.
class SummaryMaker
{
public:
    explicit SummaryMaker(qint64 span)
        : m_Span(span)
    {
    }

    /// Rows that have been removed, or have no moment, do not count.
    void Add(const HistoryRow& row);
    const Summaries& Made() const { return m_Made; }

private:
    const qint64 m_Span;
    Summaries m_Made;
    Summary* m_Last = nullptr;
};

/// Summaries of minutes as bytes, about 50 each.
QByteArray PackMinutes(const Summaries& minutes);
/// Throws SqliteError when these are none.
std::vector<Summary> UnpackMinutes(QByteArrayView bytes);
