#include "velsqllib/EventQueue.h"

#include <QElapsedTimer>
#include <QScopedValueRollback>

class EventQueue::Acknowledgement
{
public:
    explicit Acknowledgement(kj::Own<kj::PromiseFulfiller<void>> fulfiller)
        : m_Fulfiller(kj::mv(fulfiller))
    {
    }
    Acknowledgement(const Acknowledgement&) = delete;
    Acknowledgement& operator=(const Acknowledgement&) = delete;
    ~Acknowledgement() { m_Fulfiller->fulfill(); }

private:
    kj::Own<kj::PromiseFulfiller<void>> m_Fulfiller;
};

EventQueue::EventQueue(TakeSteps takeSteps)
    : m_TakeSteps(std::move(takeSteps))
{
    m_Turn.setInterval(0);
    connect(&m_Turn, &QTimer::timeout, this, &EventQueue::HandleSlice);
}

kj::Promise<void> EventQueue::Add(const std::shared_ptr<EventSink>& sink, const std::vector<Change>& changes)
{
    const auto count = static_cast<int>(std::min<std::size_t>(changes.size(), MostWaiting + 1));
    if (sink->Waiting + count > MostWaiting)
        return kj::Exception(kj::Exception::Type::OVERLOADED, __FILE__, __LINE__,
                             kj::heapString("Too many events wait for the client."));
    auto done = kj::newPromiseAndFulfiller<void>();
    const auto acknowledgement = std::make_shared<Acknowledgement>(kj::mv(done.fulfiller));
    sink->Waiting += count;
    for (const Change& change : changes) m_Events.push_back({sink, change, acknowledgement});
    if (!m_Turn.isActive()) m_Turn.start();
    return kj::mv(done.promise);
}

void EventQueue::Drop(const EventSink& sink)
{
    std::erase_if(m_Events, [&](const Event& event) { return event.Sink.get() == &sink; });
}

void EventQueue::Clear()
{
    m_Turn.stop();
    m_Events.clear();
}

void EventQueue::HandleSlice()
{
    // The handler has opened a window of its own; the rest waits until it returns.
    if (m_Handling) return;
    const QScopedValueRollback handling(m_Handling, true);
    QElapsedTimer slice;
    slice.start();
    while (!m_Events.empty() && slice.elapsed() < SliceMs) HandleSome();
    if (m_Events.empty()) m_Turn.stop();
    Q_EMIT Handled();
}

void EventQueue::HandleSome()
{
    QList<CallStep> steps;
    const qsizetype most = std::min(m_Together, static_cast<qsizetype>(m_Events.size()));
    for (qsizetype n = 0; n < most; ++n) steps << CallStep{[this, n] { ForeseeNth(n); }, [this] { HandleFirst(); }};
    const qsizetype taken = m_TakeSteps(steps, 0);
    m_Together = taken < most ? taken : std::min(2 * m_Together, MostTogether);
}

void EventQueue::ForeseeNth(qsizetype n)
{
    const Event& event = m_Events[static_cast<std::size_t>(n)];
    const ItemRef* item = std::get_if<ItemRef>(&event.Change);
    if (item && event.Sink->Target) event.Sink->Target->ForeseeChangeItem(*item);
}

void EventQueue::HandleFirst()
{
    if (m_Events.empty()) return; // cleared by a handler
    Event event = std::move(m_Events.front());
    m_Events.pop_front();
    Handle(std::move(event));
}

void EventQueue::Handle(Event event)
{
    --event.Sink->Waiting;
    ControllerEvents* target = event.Sink->Target;
    try {
        const ItemRef* item = std::get_if<ItemRef>(&event.Change);
        if (target && item) target->OnChangeItem(*item);
        else if (target) target->OnChangeState(std::get<qint32>(event.Change));
    } catch (...) {
        // An exception from a handler must not reach the event loop; the handler has reported what it wanted to report.
    }
}
