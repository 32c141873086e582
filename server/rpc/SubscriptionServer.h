#pragma once

#include "server/plant/PlantController.h"
#include "velsqllib/WireValue.h"

#include <deque>
#include <variant>

class Subscribers;

/// Sends a controller's events to one subscriber, in order and each only once. For a subscriber that does not read, it
/// keeps MostWaiting events and drops later ones.
class SubscriptionServer : public wire::Subscription::Server,
                           private ControllerObserver,
                           private kj::TaskSet::ErrorHandler
{
public:
    static constexpr std::size_t MostWaiting = 100'000;
    /// In one message, to a subscriber that knows how to take them.
    static constexpr std::size_t MostTogether = 64;

    /// For a subscriber of that level (see the schema). Throws ServerError when there are too many.
    SubscriptionServer(Subscribers& all, WireObjects& objects, PlantControllerRef controller,
                       wire::ControllerEvents::Client events, quint16 level);
    ~SubscriptionServer();

    bool HasWaiting() const { return !m_Waiting.empty(); }
    /// When the subscriber last showed that it reads, in the count of Subscribers.
    quint64 LastSign() const { return m_LastSign; }
    /// Drops the events that wait, in favour of others.
    void GiveUp();

private:
    using Event = std::variant<qint32, PlantItemRef>;

    void StateChanged(qint32 state) override { Queue(state); }
    void ItemChanged(const PlantItemRef& item) override { Queue(item); }
    void taskFailed(kj::Exception&&) override {} // failures are answers, too

    void Queue(Event event);
    void Drop(const QString& why, std::size_t count);
    void SendWaiting();
    qint32 CountForNextMessage() const;
    void SendNext(qint32 count);
    kj::Promise<void> Send(const Event& event);
    kj::Promise<void> SendTogether(qint32 count);
    void Answered(qint32 count);
    void Failed(const kj::Exception& exception, qint32 count);
    void Forget();
    void End();

    Subscribers& m_All;
    WireObjects& m_Objects;
    const PlantControllerRef m_Controller;
    wire::ControllerEvents::Client m_Events;
    const bool m_TakesMany;
    std::deque<Event> m_Waiting;
    quint64 m_Dropped = 0;
    quint64 m_LastSign = 0;
    int m_Unanswered = 0;
    bool m_Ended = false;
    kj::TaskSet m_Sending;
    kj::Promise<void> m_SendSoon = kj::READY_NOW;
};
