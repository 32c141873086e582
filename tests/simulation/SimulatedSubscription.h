#pragma once

#include "tests/simulation/Trace.h"
#include "velsqllib/velsqllib.capnp.h"

#include <kj/timer.h>

/// A client's subscription to a controller's events, and all that has come of it.
class SimulatedSubscription
{
public:
    /// `milliseconds` is how long the client works on a message. So many events there have been by now.
    SimulatedSubscription(QString controller, int milliseconds, qsizetype events)
        : m_Controller(std::move(controller))
        , m_Milliseconds(milliseconds)
        , m_From(events)
    {
    }

    const QString& Controller() const { return m_Controller; }
    /// The server has answered, when there had been so many events.
    void Begin(wire::Subscription::Client held, qsizetype events);
    /// The client gives it up.
    void GiveUp() { m_Held = nullptr; }
    /// No event may come any more.
    void End() { m_IsOver = true; }

    /// What takes the events; `timer` and `trace` outlive it, and `who` is named in the trace.
    static wire::ControllerEvents::Client ReceiverOf(const std::shared_ptr<SimulatedSubscription>& subscription,
                                                     kj::Timer& timer, Trace& trace, const QString& who);
    /// Whether it had events of the controller once and in order, from the beginning on: all of them, or some.
    bool HadAll(const QStringList& events) const { return Had(events, true); }
    bool HadSome(const QStringList& events) const { return Had(events, false); }

private:
    class Receiver;

    bool Had(const QStringList& events, bool toTheEnd) const;

    const QString m_Controller;
    const int m_Milliseconds;
    // It has the events from somewhere between these on: those of when it was asked for and of when it was answered.
    const qsizetype m_From;
    qsizetype m_Until = 0;
    wire::Subscription::Client m_Held = nullptr;
    bool m_IsOver = false;
    QStringList m_Received;
};

using SimulatedSubscriptionRef = std::shared_ptr<SimulatedSubscription>;
