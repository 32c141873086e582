#pragma once

#include "core/automation/ServerObjects.h"

#include <QTimer>

#include <deque>
#include <functional>
#include <kj/async.h>

/// Where a subscription's events go; outlives the subscription in the queue.
struct EventSink
{
    /// Null once the subscription has ended: its events are then dropped.
    ControllerEvents* Target = nullptr;
    /// Its events in the queue.
    int Waiting = 0;
};

/// Server events wait here, in order, until the event loop has time for them: none is handled inside a call, and a
/// storm of them leaves input and timers their turn. Each is acknowledged when it has been handled, which holds back
/// a server that is too fast.
class EventQueue : public QObject
{
    Q_OBJECT

public:
    static constexpr int SliceMs = 10;
    /// Of one sink. The bundled server leaves a quarter of it unanswered; one that sends more has not waited for the
    /// answers.
    static constexpr int MostWaiting = 1024;

    using Deliver = std::function<void(ControllerEvents&)>;

    EventQueue();

    /// The promise is fulfilled when the event has been handled or dropped; it fails when too many wait.
    kj::Promise<void> Add(std::shared_ptr<EventSink> sink, Deliver deliver);
    void Clear();

Q_SIGNALS:
    /// Some events have been handled; their acknowledgements still have to be sent.
    void Handled();

private:
    struct Event
    {
        std::shared_ptr<EventSink> Sink;
        Deliver DeliverTo;
        kj::Own<kj::PromiseFulfiller<void>> Done;
    };

    void HandleSlice();
    static void Handle(Event event);

    std::deque<Event> m_Events;
    QTimer m_Turn;
    bool m_Handling = false;
};
