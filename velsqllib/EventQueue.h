#pragma once

#include "core/automation/ServerObjects.h"

#include <QTimer>

#include <deque>
#include <functional>
#include <kj/async.h>

/// Receives a subscription's events; outlives the subscription in the queue.
struct EventSink
{
    /// Null once the subscription has ended: its events are then dropped.
    ControllerEvents* Target = nullptr;
    /// The number of its events in the queue.
    int Waiting = 0;
};

/// Server events wait here, in order, until the event loop has time for them: none is handled inside a call, and a
/// storm of them leaves time for input and timers. Each is acknowledged when it has been handled, which slows down a
/// server that is too fast.
class EventQueue : public QObject
{
    Q_OBJECT

public:
    static constexpr int SliceMs = 10;
    /// Per sink. The bundled server leaves at most a quarter of this unanswered; a server that sends more has not
    /// waited for the answers.
    static constexpr int MostWaiting = 1024;

    using Deliver = std::function<void(ControllerEvents&)>;

    EventQueue();

    /// The promise is fulfilled when the event has been handled or dropped, and rejected when too many events wait.
    kj::Promise<void> Add(std::shared_ptr<EventSink> sink, Deliver deliver);
    void Clear();

Q_SIGNALS:
    /// Some events have been handled; their acknowledgements are still to be sent.
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
