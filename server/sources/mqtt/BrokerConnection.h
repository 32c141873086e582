#pragma once

#include "server/sources/mqtt/BrokerClient.h"
#include "server/sources/mqtt/NewsBox.h"
#include "server/worker/Worker.h"

#include <optional>

/// The way to one broker on a thread of its own, which connects again and again for as long as somebody wants it.
class BrokerConnection
{
public:
    explicit BrokerConnection(BrokerSettings settings);
    BrokerConnection(const BrokerConnection&) = delete;
    BrokerConnection& operator=(const BrokerConnection&) = delete;
    /// On the loop, if it was opened.
    ~BrokerConnection();

    const BrokerSettings& Settings() const;
    /// Starts the thread. Both outlive the connection.
    void Open(Loop& loop, BrokerListener& listener);
    /// Whether it is to connect, and to stay connected.
    void Want(bool isWanted);
    /// From now on, over all interruptions. A filter that is subscribed already gets the new quality of service.
    void Subscribe(const QByteArray& filter, int qos);
    void Unsubscribe(const QByteArray& filter);
    /// From any thread; answered on the connection's own. Without a connection it fails, at once as soon as it is known
    /// why there is none.
    void Publish(OutgoingMessage message, BrokerClient::Answered answered);

private:
    struct Shared;
    class Session;

    std::shared_ptr<Shared> m_Shared;
    std::optional<Worker> m_Worker;
};
