#pragma once

#include "server/rpc/Services.h"
#include "velsqllib/velsqllib.capnp.h"

#include <deque>
#include <variant>

/// Sends a controller's events to one subscriber, in order and none twice. Of a subscriber that does not read it keeps
/// MostWaiting events, of all together MostWaitingOfAll, and drops what comes then.
class SubscriptionServer : public wire::Subscription::Server,
                           private ControllerObserver,
                           private kj::TaskSet::ErrorHandler
{
public:
    static constexpr std::size_t MostWaiting = 100'000;
    static constexpr qint64 MostWaitingOfAll = 1'000'000;
    static constexpr qint32 MostSubscriptions = 10'000;

    /// Throws ServerError when there are too many.
    SubscriptionServer(Services& services, PlantControllerRef controller, wire::ControllerEvents::Client events);
    ~SubscriptionServer();

private:
    using Event = std::variant<qint32, PlantItemRef>;

    void StateChanged(qint32 state) override { Queue(state); }
    void ItemChanged(const PlantItemRef& item) override { Queue(item); }
    void taskFailed(kj::Exception&& exception) override;

    void Queue(Event event);
    void Drop();
    void SendWaiting();
    kj::Promise<void> Send(const Event& event);
    void End();

    Services& m_Services;
    const PlantControllerRef m_Controller;
    wire::ControllerEvents::Client m_Events;
    std::deque<Event> m_Waiting;
    quint64 m_Dropped = 0;
    int m_Unanswered = 0;
    bool m_Ended = false;
    kj::TaskSet m_Sending;
};
