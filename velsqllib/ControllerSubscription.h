#pragma once

#include "velsqllib/Connection.h"

/// A window's subscription to a controller's events, renewed by the connection whenever it attaches to a server anew.
class ControllerSubscription : public EventSubscription
{
public:
    /// Subscribes. Throws ServerError when the server refuses.
    ControllerSubscription(ConnectionRef connection, QString controllerName, ControllerEvents& events);
    ~ControllerSubscription() noexcept override;

    /// Subscribes to the controller of that name on a new server; one without such a controller sends no events.
    void Renew();

private:
    capnp::RemotePromise<wire::Controller::SubscribeResults> SendSubscribe();

    ConnectionRef m_Connection;
    QString m_ControllerName;
    std::shared_ptr<EventSink> m_Sink;
    kj::Maybe<wire::Subscription::Client> m_Subscription;
};
