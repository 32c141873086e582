#pragma once

#include "velsqllib/Connection.h"

/// A window's subscription to a controller's events. The connection renews it whenever it attaches to a new server.
class ControllerSubscription : public EventSubscription
{
public:
    /// Subscribes. Throws ServerError when the server refuses.
    ControllerSubscription(ConnectionRef connection, QString controllerName, ControllerEvents& events);
    ~ControllerSubscription() noexcept override;

    /// Subscribes to the controller of that name on a new server. When the server refuses or has no such controller,
    /// the subscription is closed.
    void Renew();
    bool IsOpen() const override { return !m_Refused; }

private:
    void EndEvents();
    capnp::RemotePromise<wire::Controller::SubscribeResults> SendSubscribe();

    ConnectionRef m_Connection;
    QString m_ControllerName;
    std::shared_ptr<EventSink> m_Sink;
    kj::Maybe<wire::Subscription::Client> m_Subscription;
    bool m_Refused = false;
    kj::Promise<void> m_Renewal = nullptr;
};
