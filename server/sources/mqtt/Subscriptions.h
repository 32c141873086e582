#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <memory>
#include <vector>

class MqttVariable;

/// Which variables hear which topics.
class Subscriptions
{
public:
    /// Returns the quality of service with which the filter is to be subscribed from now on: the best that is asked for.
    int Add(MqttVariable& variable);
    /// Returns whether nobody else hears the filter.
    bool Remove(const MqttVariable& variable);

    /// Those of whom a topic is heard, until the next change.
    const std::vector<MqttVariable*>& Hearing(const QByteArray& topic);
    /// Those of one filter.
    const std::vector<MqttVariable*>& Of(const QByteArray& filter) const;
    template <typename Action>
    void ForEach(Action action) const
    {
        for (const Filter& filter : m_Filters) {
            for (MqttVariable* variable : filter.Variables) action(*variable);
        }
    }
    qsizetype Count() const { return m_Filters.size(); }

private:
    struct Filter
    {
        int Qos = -1;
        std::vector<MqttVariable*> Variables;
    };

    /// Topics that are remembered with those who hear them; brokers may send any number of topics.
    static constexpr qsizetype MostRemembered = 100'000;

    QHash<QByteArray, Filter> m_Filters;
    QList<QByteArray> m_Wild; ///< filters that hear other topics than the one of their name
    QHash<QByteArray, std::vector<MqttVariable*>> m_Hearing;
};
