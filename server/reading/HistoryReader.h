#pragma once

#include "server/reading/Time.h"

#include <functional>
#include <limits>
#include <vector>

/// An item by the names under which it is recorded; it need not exist any more.
struct ItemPath
{
    QString Controller;
    QString Item;

    QString Text() const { return Controller + u'\\' + Item; }
};

/// The values from `From` until before `To`.
struct TimeRange
{
    Micros From = std::numeric_limits<Micros>::min();
    Micros To = std::numeric_limits<Micros>::max();
};

/// A recorded value.
struct Reading
{
    bool IsGood() const { return State == 0; }

    Micros Utc = 0;
    Variant Value = Null{}; ///< an R8 for every number, else a text or NULL
    qint32 State = 0;       ///< 0 good, 1 failed, 2 undefined
};

/// From how much of an item's history one step of a reading is made.
enum class Level
{
    Values = 0,
    Minutes = 1,
    Hours = 2,
    Days = 3
};

/// The sums of an item's good numbers in a whole minute, hour or day of UTC, or in several.
struct Block
{
    /// Whether nothing but good numbers was recorded, so that they say all.
    bool IsComplete() const { return Values == Numbers; }

    Micros Start = 0;
    qint64 Values = 0; ///< of any kind
    qint64 Numbers = 0;
    double Smallest = 0;
    double Largest = 0;
    double Sum = 0;
    double First = 0;
    double Last = 0;
    qint32 WorstState = 0;
};

/// Equal intervals from `Origin` on.
struct Grid
{
    Micros Origin = 0;
    Micros Length = 1;
};

/// How bad a state is: failed (1) is worse than undefined (2).
inline int Badness(qint32 state)
{
    return state == 1 ? 3 : state;
}

/// What is recorded of single items, forwards. Every operation throws DescribedError.
class HistoryReader
{
public:
    /// False when no more is wanted.
    template <typename T>
    using Taker = std::function<bool(const T&)>;

    virtual ~HistoryReader() = default;

    /// In the order of time, or the `newestFirst`; at most `atMost` of them, 0: all.
    virtual void ReadValues(const ItemPath& item, const TimeRange& range, bool newestFirst, qint64 atMost,
                            const Taker<Reading>& take) = 0;
    /// Whether there are blocks at all.
    virtual bool HasBlocks() const = 0;
    /// The blocks that begin in the range, in the order of time; those without a value may be left out, and those that
    /// begin in the same interval of the grid may come as one. `level` is not Values.
    virtual std::vector<Block> ReadBlocks(const ItemPath& item, Level level, const TimeRange& range,
                                          const Grid& grid) = 0;
};
