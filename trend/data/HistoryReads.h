#pragma once

#include "core/automation/ServerObjects.h"
#include "trend/core/Marks.h"
#include "trend/core/Series.h"
#include "trend/data/Coverage.h"

#include <QHash>

#include <functional>

/// What the history knows of an item in a span.
struct HistoryAnswer
{
    QString Item;
    Span Known;
    Micros Interval = 0; ///< Coverage::Exact: every value
    std::vector<Sample> Samples = {};
    std::vector<Marks::Mark> Texts = {};
    bool HasTexts = false;
    bool IsFresh = false; ///< as HistoryQuestion has it
};

/// Nobody waits for the answer any more.
struct AnswerOutdated
{
};

/// Single calls on the history, and their answers as a trend takes them. Everything throws ServerError and
/// AnswerOutdated.
class HistoryReads
{
public:
    using Counts = QHash<QString, double>;
    using Moments = QHash<QString, Micros>;

    /// So many values of an item are read one by one.
    static constexpr double MostValues = 5000;

    HistoryReads(VelSQLHistory& history, std::function<bool()> isWanted)
        : m_History(history)
        , m_IsWanted(std::move(isWanted))
    {
    }

    /// What lies in each interval that touches the span. `counts`: adds how many values that are.
    QList<HistoryAnswer> Intervals(const QStringList& items, const Span& span, Micros interval,
                                   Counts* counts = nullptr);
    /// Each value, if there are not far more than MostValues.
    QList<HistoryAnswer> Values(const QStringList& items, const Span& span);
    /// What holds at a moment. What follows it until then is known with that.
    QList<HistoryAnswer> Beginnings(const QStringList& items, Micros time);
    /// The time of the last value of each item that has any.
    Moments Newest(const QStringList& items);

private:
    void CheckWanted() const;

    VelSQLHistory& m_History;
    const std::function<bool()> m_IsWanted;
};
