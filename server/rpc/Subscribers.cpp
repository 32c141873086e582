#include "server/rpc/Subscribers.h"

#include "core/automation/Errors.h"
#include "server/rpc/SubscriptionServer.h"

#include <algorithm>

void Subscribers::Add(SubscriptionServer& subscriber)
{
    if (m_Subscribers.size() >= Most)
        throw ServerError(QStringLiteral("There are %1 subscriptions already.").arg(Most));
    m_Subscribers.push_back(&subscriber);
}

void Subscribers::Remove(SubscriptionServer& subscriber)
{
    std::erase(m_Subscribers, &subscriber);
}

bool Subscribers::HasRoomFor(const SubscriptionServer& subscriber)
{
    if (m_Waiting < MostWaiting) return true;
    SubscriptionServer* silent = MostSilent();
    if (!silent || silent == &subscriber) return false;
    silent->GiveUp();
    return true;
}

SubscriptionServer* Subscribers::MostSilent() const
{
    const auto order = [](const SubscriptionServer* subscriber) {
        return std::pair(!subscriber->HasWaiting(), subscriber->LastSign());
    };
    const auto found = std::ranges::min_element(m_Subscribers, {}, order);
    return found == m_Subscribers.end() ? nullptr : *found;
}
