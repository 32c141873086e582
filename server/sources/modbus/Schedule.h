#pragma once

#include "server/sources/modbus/Unit.h"

/// Whose turn it is on a line, and with what. The line's lock guards it.
class Schedule
{
public:
    using Clock = Unit::Clock;

    /// What a connection does next, for a unit: a writing, a request of a job, or else a trial whether it answers.
    struct Step
    {
        UnitRef For;
        std::optional<WriteJob> Write = {};
        std::shared_ptr<ReadJob> Job = {};
        ReadJob::Request Request = {};
        std::optional<Span> Trial = {};
    };

    void Add(const UnitRef& unit) { m_Units.push_back(unit); }
    void Remove(const UnitRef& unit) { std::erase(m_Units, unit); }
    const std::vector<UnitRef>& Units() const { return m_Units; }

    std::optional<Step> Next(Clock::time_point now);
    /// When to look again although nobody has told of anything.
    Clock::time_point NextTime() const;
    /// Whether nobody wants another unit of the line.
    bool IsAlone(const UnitRef& unit) const;

private:
    std::optional<Step> NextTrial(Clock::time_point now);
    UnitRef NextUnit(bool (Unit::*has)() const) const;

    std::vector<UnitRef> m_Units;
    std::size_t m_Turn = 0; ///< the unit that is asked next
    bool m_WasWrite = false;
};
