#include "velsqllib/ControllerSubscription.h"

#include "velsqllib/ClientObjects.h"

namespace {

/// Receives the server's calls: passes each event to the queue, and answers when the window has handled it.
class EventReceiver : public wire::ControllerEvents::Server
{
public:
    EventReceiver(std::weak_ptr<Connection> connection, std::shared_ptr<EventSink> sink)
        : m_Connection(std::move(connection))
        , m_Sink(std::move(sink))
    {
    }

    kj::Promise<void> onChangeState(OnChangeStateContext context) override
    {
        const qint32 state = context.getParams().getNewVal();
        return Add([state](ControllerEvents& events) { events.OnChangeState(state); });
    }

    kj::Promise<void> onChangeItem(OnChangeItemContext context) override
    {
        const auto connection = m_Connection.lock();
        if (!connection) return kj::READY_NOW;
        auto item = std::dynamic_pointer_cast<VelSQLItem>(connection->Objects().Read(context.getParams().getItem()));
        context.releaseParams();
        if (!item) return kj::READY_NOW;
        return Add([item](ControllerEvents& events) { events.OnChangeItem(item); },
                   [item](ControllerEvents& events) { events.ForeseeChangeItem(item); });
    }

private:
    kj::Promise<void> Add(EventQueue::Deliver deliver, EventQueue::Deliver foresee = {})
    {
        const auto connection = m_Connection.lock();
        if (!connection || !m_Sink->Target) return kj::READY_NOW;
        return connection->Events().Add(m_Sink, std::move(deliver), std::move(foresee));
    }

    std::weak_ptr<Connection> m_Connection;
    std::shared_ptr<EventSink> m_Sink;
};

} // namespace

ControllerSubscription::ControllerSubscription(ConnectionRef connection, QString controllerName,
                                               ControllerEvents& events)
    : m_Connection(std::move(connection))
    , m_ControllerName(std::move(controllerName))
    , m_Sink(std::make_shared<EventSink>(EventSink{&events}))
{
    m_Connection->Call([this] { return SendSubscribe(); },
                       [this](auto response) { m_Subscription = response.getSubscription(); });
    m_Connection->AddSubscription(this);
}

ControllerSubscription::~ControllerSubscription() noexcept
{
    m_Sink->Target = nullptr;
    m_Connection->RemoveSubscription(this);
    m_Subscription = nullptr;
    m_Connection->PollLater();
}

void ControllerSubscription::Renew()
{
    m_Refused = false;
    auto answer = SendSubscribe();
    m_Subscription = answer.getSubscription();
    m_Renewal = answer
                    .then([](auto&&) {},
                          [this](kj::Exception&& failure) {
                              // If the connection is lost again, it is renewed again.
                              m_Refused = failure.getType() != kj::Exception::Type::DISCONNECTED;
                          })
                    .eagerlyEvaluate(nullptr);
}

capnp::RemotePromise<wire::Controller::SubscribeResults> ControllerSubscription::SendSubscribe()
{
    auto request = FindController(*m_Connection, m_ControllerName).subscribeRequest();
    request.setEvents(kj::heap<EventReceiver>(m_Connection, m_Sink));
    return request.send();
}
