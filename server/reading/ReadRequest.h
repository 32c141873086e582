#pragma once

#include "server/history/StatementRun.h"
#include "server/reading/HistoryReader.h"
#include "server/reading/IntervalSums.h"

class Plant;

/// What a caller wants to read. Made from the arguments of its call; throws ValueError that names the wrong one.
struct ReadRequest
{
    static constexpr qsizetype MostItems = 1000;

    /// `items` is a text or an array of texts, "<controller>\<item>" each.
    ReadRequest(const Plant& plant, const Variant& items, const Variant& from, const Variant& to);
    /// "ReadRaw PLC1\D100, PLC1\D101".
    QString Text(QStringView operation) const;

    QList<ItemPath> Items;
    std::optional<Micros> From;
    std::optional<Micros> To;
};

/// The values of a span, as they were recorded.
struct RawRequest : ReadRequest
{
    /// `atMost` is for each item, 0: all. `continuing` is empty, or what an earlier answer gave.
    RawRequest(ReadRequest read, bool bounds, qint32 atMost, const QString& continuing);

    /// The newest come first.
    bool IsBackwards() const { return From && To ? *From > *To : !From && AtMost > 0; }

    bool Bounds;
    qint32 AtMost;
    bool IsContinued = false;
    /// Of the values at the moment where reading goes on, those that were answered already.
    qint64 Skipped = 0;
};

/// The values of a span, interval by interval.
struct ProcessedRequest : ReadRequest
{
    static constexpr qint64 MostIntervals = 1'000'000;

    /// `interval` is a number of microseconds or a text such as "10 min"; 0: the whole span. `aggregates` is the name of
    /// one, an array of such names or "All".
    ProcessedRequest(ReadRequest read, const Variant& interval, const Variant& aggregates);

    Micros Interval;
    QList<const Aggregate*> Aggregates;
};

/// Hand out the rows of an answer.
void WriteRaw(const RawRequest& request, HistoryReader& reader, const Inquiry::Taker& take);
void WriteProcessed(const ProcessedRequest& request, HistoryReader& reader, const Inquiry::Taker& take);

/// The same, to be asked of the history with this table.
Inquiry RawInquiry(const RawRequest& request, const QString& table);
Inquiry ProcessedInquiry(const ProcessedRequest& request, const QString& table);
