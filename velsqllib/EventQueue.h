#pragma once

#include "core/automation/ServerObjects.h"

#include <QTimer>

#include <deque>
#include <functional>
#include <kj/async.h>
#include <variant>
#include <vector>

/// What a controller tells: its new state, or an item that has changed.
using Change = std::variant<qint32, ItemRef>;

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
    /// Per sink. The bundled server leaves at most half of this unanswered; a server that sends more has not
    /// waited for the answers.
    static constexpr int MostWaiting = 1024;

    /// See VelSQLLib::TakeSteps.
    using TakeSteps = std::function<qsizetype(const QList<CallStep>& steps, qsizetype first)>;

    explicit EventQueue(TakeSteps takeSteps);

    /// The promise is fulfilled when all of these events have been handled or dropped, and rejected when too many wait.
    kj::Promise<void> Add(const std::shared_ptr<EventSink>& sink, const std::vector<Change>& changes);
    /// Drops those of a subscription that has ended: the items in them would keep the connection.
    void Drop(const EventSink& sink);
    void Clear();

Q_SIGNALS:
    /// Some events have been handled; their acknowledgements are still to be sent.
    void Handled();

private:
    /// At most, the events whose calls are asked together: half of what the bundled server leaves unanswered.
    static constexpr qsizetype MostTogether = 256;

    /// Answers the message that has brought an event, when the last of its events lets go.
    class Acknowledgement;
    struct Event
    {
        std::shared_ptr<EventSink> Sink;
        ::Change Change;
        std::shared_ptr<Acknowledgement> Done;
    };

    void HandleSlice();
    void HandleSome();
    void HandleFirst();
    void ForeseeNth(qsizetype n);
    static void Handle(Event event);

    const TakeSteps m_TakeSteps;
    std::deque<Event> m_Events;
    /// So many are tried together next, following how many could be.
    qsizetype m_Together = 1;
    QTimer m_Turn;
    bool m_Handling = false;
};
