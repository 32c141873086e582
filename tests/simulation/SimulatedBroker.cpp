#include "tests/simulation/SimulatedBroker.h"

#include <sys/socket.h>

namespace {

/// Kinds of packets, as they stand in the first half of their first byte.
enum Kind : quint8
{
    Connect = 1,
    Message = 3,
    Subscription = 8,
    Unsubscription = 10,
    Ping = 12,
    Farewell = 14
};

qsizetype SizeAt(const QByteArray& packet, qsizetype at)
{
    return static_cast<quint8>(packet[at]) << 8 | static_cast<quint8>(packet[at + 1]);
}

QByteArray TextAt(const QByteArray& packet, qsizetype at)
{
    return packet.mid(at + 2, SizeAt(packet, at));
}

} // namespace

void SimulatedBroker::Serve(int socket)
{
    QByteArray head, size, packet;
    while (Receive(socket, head, 1)) {
        qsizetype length = 0;
        int shift = 0;
        do {
            if (!Receive(socket, size, 1)) break;
            length |= static_cast<qsizetype>(size[0] & 0x7F) << std::exchange(shift, shift + 7);
        } while (size[0] & 0x80);
        if (!Receive(socket, packet, length) || !Take(socket, static_cast<quint8>(head[0]), packet)) break;
    }
    m_Filters.erase(socket);
}

/// Returns whether the connection goes on.
bool SimulatedBroker::Take(int socket, quint8 kind, const QByteArray& packet)
{
    const Mood mood = Think(5, 6000);
    if (kind >> 4 == Connect) m_Session = socket;
    if (socket != m_Session) return false; // its client has connected again
    if (mood == Mood::Silent) return true;
    if (mood == Mood::Failing && Chance().OneIn(2)) return false;
    switch (kind >> 4) {
    case Connect: Send(socket, QByteArray::fromHex(mood == Mood::Failing ? "20020005" : "20020000")); break;
    case Message: TakeMessage(socket, kind, packet); break;
    case Subscription: Subscribe(socket, packet); break;
    case Unsubscription:
        m_Filters[socket].erase(TextAt(packet, 2));
        Send(socket, QByteArray::fromHex("b002") + packet.first(2));
        break;
    case Ping: Send(socket, QByteArray::fromHex("d000")); break;
    case Farewell: return false;
    default: break;
    }
    return mood != Mood::Failing || Chance().OneIn(2); // it has taken it, and that was the last thing
}

void SimulatedBroker::TakeMessage(int socket, quint8 kind, const QByteArray& packet)
{
    const QByteArray topic = TextAt(packet, 0);
    const bool isAcknowledged = kind & 2;
    const qsizetype end = topic.size() + 2;
    const QByteArray payload = packet.mid(end + (isAcknowledged ? 2 : 0));
    Note(QString::fromUtf8(topic + ' ' + payload.left(80)));
    if (topic.startsWith(Outward)) m_ForOthers.append(payload);
    else Publish(topic, payload, kind & 1);
    if (isAcknowledged) Send(socket, QByteArray::fromHex("4002") + packet.mid(end, 2));
}

void SimulatedBroker::Subscribe(int socket, const QByteArray& packet)
{
    QByteArray granted;
    std::set<QByteArray> filters;
    for (qsizetype at = 2; at < packet.size(); at += SizeAt(packet, at) + 3) {
        filters.insert(TextAt(packet, at));
        granted.append('\0');
    }
    Send(socket, QByteArray(1, '\x90') + static_cast<char>(granted.size() + 2) + packet.first(2) + granted);
    for (const QByteArray& filter : filters)
        if (m_Retained.contains(filter)) SendMessage(socket, filter, m_Retained.value(filter), true);
    m_Filters[socket].merge(filters);
}

void SimulatedBroker::Publish(const QByteArray& topic, const QByteArray& payload, bool isRetained)
{
    if (isRetained) m_Retained[topic] = payload;
    for (const auto& [socket, filters] : m_Filters)
        if (filters.contains(topic)) SendMessage(socket, topic, payload, false);
}

void SimulatedBroker::SendMessage(int socket, const QByteArray& topic, const QByteArray& payload, bool isRetained)
{
    QByteArray message(1, isRetained ? '\x31' : '\x30');
    message.append(static_cast<char>(topic.size() + payload.size() + 2));
    message.append('\0').append(static_cast<char>(topic.size()));
    Send(socket, message + topic + payload);
}
