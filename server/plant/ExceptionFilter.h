#pragma once

#include "core/automation/Variant.h"
#include "server/plant/Moment.h"

#include <optional>
#include <vector>

/// What an item was at one moment, as it is recorded.
struct ItemReading
{
    Variant Value;
    TimeStamp Time;
    qint32 State = 0; ///< as ItemState
};

/// Which readings of an item are worth recording.
struct RecordRule
{
    double Change = 0; ///< a number that differs by less from the one recorded last is left out
    /// The longest silence while there are readings: the last one within it is recorded whatever it says. 0: none.
    std::chrono::microseconds AtLeast{0};
};

/// Exception reporting: leaves out readings that say nothing new. With a reading that does, the one before is recorded
/// as well, so that a line between what is recorded does not begin to rise when nothing had happened yet.
class ExceptionFilter
{
public:
    explicit ExceptionFilter(const RecordRule& rule)
        : m_Rule(rule)
    {
    }

    /// What is to be recorded now, in order: nothing, the reading, or the one before and the reading.
    std::vector<ItemReading> Take(const ItemReading& reading);

private:
    bool IsNews(const ItemReading& reading) const;
    bool IsOverdue(const ItemReading& reading) const;

    const RecordRule m_Rule;
    std::optional<ItemReading> m_Recorded; ///< the last one
    std::optional<ItemReading> m_LeftOut;  ///< the last one since then
};
