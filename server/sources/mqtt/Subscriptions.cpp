#include "server/sources/mqtt/Subscriptions.h"

#include "server/sources/mqtt/MqttVariable.h"

namespace {

const std::vector<MqttVariable*> s_Nobody;

bool IsWild(const QByteArray& filter)
{
    return HasWildcards(filter) || HeardBy(filter) != filter;
}

} // namespace

int Subscriptions::Add(MqttVariable& variable)
{
    m_Hearing.clear();
    const MqttBinding& binding = variable.Binding();
    Filter& filter = m_Filters[binding.Filter];
    if (filter.Variables.empty() && IsWild(binding.Filter)) m_Wild.append(binding.Filter);
    filter.Variables.push_back(&variable);
    return filter.Qos = std::max(filter.Qos, binding.Qos);
}

bool Subscriptions::Remove(const MqttVariable& variable)
{
    m_Hearing.clear();
    const QByteArray& name = variable.Binding().Filter;
    const auto filter = m_Filters.find(name);
    if (filter == m_Filters.end()) return false;
    std::erase(filter->Variables, &variable);
    if (!filter->Variables.empty()) return false;
    m_Filters.erase(filter);
    m_Wild.removeOne(name);
    return true;
}

const std::vector<MqttVariable*>& Subscriptions::Of(const QByteArray& filter) const
{
    const auto found = m_Filters.constFind(filter);
    return found == m_Filters.constEnd() ? s_Nobody : found->Variables;
}

const std::vector<MqttVariable*>& Subscriptions::Hearing(const QByteArray& topic)
{
    if (m_Wild.isEmpty()) return Of(topic);
    if (const auto known = m_Hearing.constFind(topic); known != m_Hearing.constEnd()) return *known;
    if (m_Hearing.size() >= MostRemembered) m_Hearing.clear();
    std::vector<MqttVariable*> hearing = Of(topic);
    for (const QByteArray& filter : m_Wild) {
        const std::vector<MqttVariable*>& others = Of(filter);
        if (Hears(filter, topic)) hearing.insert(hearing.end(), others.begin(), others.end());
    }
    return *m_Hearing.insert(topic, std::move(hearing));
}
