#pragma once

#include "server/database/Summary.h"
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

/// Equal intervals from `Origin` on.
struct Grid
{
    Micros Origin = 0;
    Micros Length = 1;
};

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
    /// The blocks, each of a whole minute, hour or day of UTC, that begin in the range, in the order of time; those without a value may be left out, and those that
    /// begin in the same interval of the grid may come as one. `level` is not Values.
    virtual std::vector<Summary> ReadBlocks(const ItemPath& item, Level level, const TimeRange& range,
                                            const Grid& grid) = 0;
};
