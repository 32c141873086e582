#pragma once

#include "server/reading/HistoryReader.h"

#include <QStringList>

/// What is gathered of an item between two points in time. Only good values count.
struct IntervalSums
{
    void Add(const Reading& reading);
    /// Only its numbers count.
    void Add(const Summary& block, Level level);
    void AddState(qint64 state);
    /// `value` held for so long; time in which no number held is not said.
    void AddTime(double value, Micros length);

    Micros Start = 0;
    Micros End = 0;
    qint64 Count = 0;   ///< values
    qint64 Numbers = 0; ///< values that are numbers
    double Smallest = 0;
    double Largest = 0;
    double Sum = 0;
    Variant First = Null{};
    Variant Last = Null{};
    qint64 WorstState = 0;
    double HeldSum = 0; ///< values times microseconds
    Micros HeldTime = 0;
    Level Source = Level::Values; ///< the coarsest that it is made from

private:
    void AddNumbers(qint64 count, double smallest, double largest, double sum);
};

/// How an interval's values become one.
struct Aggregate
{
    /// What must be known: of the good numbers only, of all good values, or also when each of them came.
    enum Need
    {
        Numbers,
        Values,
        Times
    };

    QStringView Name;
    Need Needs;
    Variant (*Of)(const IntervalSums& sums);
};

/// Nothing for an unknown name.
const Aggregate* FindAggregate(QStringView name);
QStringList AggregateNames();
