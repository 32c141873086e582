#include "server/sources/modbus/Schedule.h"

#include <algorithm>

using namespace std::chrono_literals;

/// Writings go first, but not two before a reading that waits.
std::optional<Schedule::Step> Schedule::Next(Clock::time_point now)
{
    if (auto trial = NextTrial(now)) return trial;
    const UnitRef read = NextUnit(&Unit::HasRead);
    const UnitRef written = read && m_WasWrite ? nullptr : NextUnit(&Unit::HasWrite);
    m_WasWrite = written != nullptr;
    if (written) return Step{written, written->TakeWrite()};
    if (!read) return std::nullopt;
    Step step{read, {}, read->TakeRead()};
    step.Request = step.Job->Ask();
    read->Queue(step.Job);
    m_Turn = static_cast<std::size_t>(std::ranges::find(m_Units, read) - m_Units.begin()) + 1;
    return step;
}

std::optional<Schedule::Step> Schedule::NextTrial(Clock::time_point now)
{
    for (const UnitRef& unit : m_Units) {
        const auto at = unit->TryAt();
        if (!at || *at > now) continue;
        unit->Postpone(now + unit->Settings().Timeout * 2); // no other connection tries it meanwhile
        return Step{unit, {}, {}, {}, unit->TrySpan()};
    }
    return std::nullopt;
}

UnitRef Schedule::NextUnit(bool (Unit::*has)() const) const
{
    for (std::size_t i = 0; i < m_Units.size(); ++i) {
        const UnitRef& unit = m_Units[(m_Turn + i) % m_Units.size()];
        if ((*unit.*has)()) return unit;
    }
    return nullptr;
}

Schedule::Clock::time_point Schedule::NextTime() const
{
    auto next = Clock::now() + 1h;
    for (const UnitRef& unit : m_Units) next = std::min(next, unit->WakesAt().value_or(next));
    return next;
}

bool Schedule::IsAlone(const UnitRef& unit) const
{
    return std::ranges::none_of(m_Units, [&](const UnitRef& other) { return other != unit && other->IsWanted(); });
}
