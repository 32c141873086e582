#pragma once

#include "server/sources/mqtt/MqttBinding.h"

class MqttSource;

/// What one item hears of a broker. It remembers the last message for an item that was switched off when it came.
class MqttVariable : public SourceVariable
{
public:
    MqttVariable(std::shared_ptr<MqttSource> source, MqttBinding binding);
    ~MqttVariable() override;

    const MqttBinding& Binding() const { return m_Binding; }
    Source* Owner() const override;
    /// Messages come by themselves; only one that the item has not taken yet is due.
    bool IsDue() const override { return m_IsWaiting; }

    /// A message on one of its topics. Returns what is wrong with the message the first time that something is.
    QString Hear(Payload& payload, VariableHolder::Time time);
    /// Nothing will come.
    void Miss(const QString& why, VariableHolder::Time time);
    /// The last message once more, if there was one.
    void Repeat();
    /// The broker has been reached again: what was wrong with messages is said again.
    void Renew() { m_IsBlamed = false; }

private:
    const std::shared_ptr<MqttSource> m_Source;
    const MqttBinding m_Binding;
    std::optional<Variant> m_Last;
    QString m_Failure; ///< of the last message
    VariableHolder::Time m_Time;
    bool m_IsWaiting; ///< the item has not taken it
    bool m_IsBlamed = false;
};
