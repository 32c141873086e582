#include "tests/simulation/SimulatedSubscription.h"

#include "velsqllib/WireText.h"

class SimulatedSubscription::Receiver final : public wire::ControllerEvents::Server
{
public:
    Receiver(SimulatedSubscriptionRef subscription, kj::Timer& timer, Trace& trace, QString who)
        : m_Subscription(std::move(subscription))
        , m_Timer(timer)
        , m_Trace(trace)
        , m_Who(std::move(who))
    {
    }

private:
    kj::Promise<void> onChangeState(OnChangeStateContext context) override
    {
        return Take({QString::number(context.getParams().getNewVal())});
    }
    kj::Promise<void> onChangeItem(OnChangeItemContext context) override
    {
        return Take({FromWireText(context.getParams().getItem().getItemName())});
    }
    kj::Promise<void> onChanges(OnChangesContext context) override
    {
        QStringList events;
        for (const auto change : context.getParams().getChanges())
            events.append(change.isState() ? QString::number(change.getState())
                                           : FromWireText(change.getItem().getItemName()));
        return Take(events);
    }
    kj::Promise<void> Take(const QStringList& events)
    {
        m_Trace.Note(QStringLiteral("%1 events %2").arg(m_Who, events.join(u' ').left(100)));
        m_Trace.Require(!m_Subscription->m_IsOver, QStringLiteral("an event came after the subscription's end"));
        m_Subscription->m_Received += events;
        if (m_Subscription->m_Milliseconds == 0) return kj::READY_NOW;
        return m_Timer.afterDelay(m_Subscription->m_Milliseconds * kj::MILLISECONDS);
    }

    const SimulatedSubscriptionRef m_Subscription;
    kj::Timer& m_Timer;
    Trace& m_Trace;
    const QString m_Who;
};

void SimulatedSubscription::Begin(wire::Subscription::Client held, qsizetype events)
{
    m_Held = kj::mv(held);
    m_Until = events;
}

wire::ControllerEvents::Client SimulatedSubscription::ReceiverOf(const SimulatedSubscriptionRef& subscription,
                                                                 kj::Timer& timer, Trace& trace, const QString& who)
{
    return kj::heap<Receiver>(subscription, timer, trace, who);
}

bool SimulatedSubscription::Had(const QStringList& events, bool toTheEnd) const
{
    const qsizetype count = m_Received.size();
    for (qsizetype begin = m_From; begin <= m_Until; ++begin) {
        const bool fits = toTheEnd ? begin + count == events.size() : begin + count <= events.size();
        if (fits && std::equal(m_Received.begin(), m_Received.end(), events.begin() + begin)) return true;
    }
    return false;
}
