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
        return Add({context.getParams().getNewVal()});
    }

    kj::Promise<void> onChangeItem(OnChangeItemContext context) override
    {
        std::vector<Change> changes;
        AddItem(context.getParams().getItem(), changes);
        context.releaseParams();
        return Add(changes);
    }

    kj::Promise<void> onChanges(OnChangesContext context) override
    {
        std::vector<Change> changes;
        for (const auto change : context.getParams().getChanges()) {
            if (changes.size() > EventQueue::MostWaiting) break; // they will be refused
            if (change.isState()) changes.emplace_back(change.getState());
            else if (change.isItem()) AddItem(change.getItem(), changes);
        }
        context.releaseParams();
        return Add(changes);
    }

private:
    void AddItem(wire::Object::Reader reader, std::vector<Change>& changes)
    {
        const auto connection = m_Connection.lock();
        if (!connection) return;
        auto item = std::dynamic_pointer_cast<VelSQLItem>(connection->Objects().Read(reader));
        if (item) changes.emplace_back(std::move(item));
    }
    kj::Promise<void> Add(const std::vector<Change>& changes)
    {
        const auto connection = m_Connection.lock();
        if (!connection || !m_Sink->Target || changes.empty()) return kj::READY_NOW;
        return connection->Events().Add(m_Sink, changes);
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
    KJ_ON_SCOPE_FAILURE(EndEvents()); // a server may send some all the same
    m_Connection->Call([this] { return SendSubscribe(); },
                       [this](auto response) { m_Subscription = response.getSubscription(); });
    m_Connection->AddSubscription(this);
}

ControllerSubscription::~ControllerSubscription() noexcept
{
    EndEvents();
    m_Connection->RemoveSubscription(this);
    m_Subscription = nullptr;
    m_Connection->PollLater();
}

void ControllerSubscription::EndEvents()
{
    m_Sink->Target = nullptr;
    m_Connection->Events().Drop(*m_Sink);
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
    request.setLevel(m_Connection->Level());
    return request.send();
}
