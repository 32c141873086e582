#pragma once

#include "tests/simulation/SimulatedPeer.h"

#include <QMap>
#include <QStringList>

/// A broker of MQTT 3.1.1, which passes on messages of quality 0 and acknowledges those of quality 1.
class SimulatedBroker final : public SimulatedPeer
{
public:
    static constexpr quint16 Port = 1883;
    /// Topics that begin so are for others.
    static constexpr const char* Outward = "out/";

    using SimulatedPeer::SimulatedPeer;
    ~SimulatedBroker() override { Close(); }

    /// Somebody else publishes it.
    void Publish(const QByteArray& topic, const QByteArray& payload, bool isRetained);
    /// What is there for those who subscribe.
    QByteArray Retained(const QByteArray& topic) const { return m_Retained.value(topic); }
    /// What has come for others, once or again.
    const QList<QByteArray>& ForOthers() const { return m_ForOthers; }

private:
    void Serve(int socket) override;
    bool Take(int socket, quint8 kind, const QByteArray& packet);
    void TakeMessage(int socket, quint8 kind, const QByteArray& packet);
    void Subscribe(int socket, const QByteArray& packet);
    static void SendMessage(int socket, const QByteArray& topic, const QByteArray& payload, bool isRetained);

    QMap<QByteArray, QByteArray> m_Retained;
    int m_Session = -1; ///< the server's present connection
    std::map<int, std::set<QByteArray>> m_Filters;
    QList<QByteArray> m_ForOthers;
};
