#include "server/plant/Pending.h"

#include "server/sources/SourceRound.h"

PendingRef Pending::All(const std::vector<PendingRef>& parts)
{
    std::vector<PendingRef> left = parts;
    std::erase(left, nullptr);
    if (left.size() <= 1) return left.empty() ? nullptr : left.front();
    auto all = std::make_shared<Pending>(static_cast<int>(left.size()));
    for (const PendingRef& part : left) part->Then([all](const QString& failure) { all->End(failure); });
    return all;
}

void Pending::End(const QString& failure)
{
    if (m_Failure.isEmpty()) m_Failure = failure;
    if (--m_Count > 0) return;
    for (const Action& action : std::exchange(m_Actions, {})) action(m_Failure);
}

void Pending::Then(Action action)
{
    if (m_Count > 0) m_Actions.push_back(std::move(action));
    else action(m_Failure);
}

PendingRef BeginRound(SourceRound& round)
{
    if (round.SourceCount() == 0) return nullptr;
    auto asked = std::make_shared<Pending>(round.SourceCount());
    round.Begin([asked] { asked->End(); });
    return asked;
}
