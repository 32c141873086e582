#include "scripttool/velsqlscript/EventHandlers.h"

#include <QScopedValueRollback>
#include <QTimer>

namespace {

/// A server that vanishes silently is noticed within this time plus the connection's own timeout.
constexpr int CheckIntervalMs = 1000;

} // namespace

/// The two handlers of one controller.
class EventHandlers::Subscription final : public ControllerEvents
{
public:
    Subscription(VelSQLController& controller, const QString& name, EventHandlers& handlers)
        : m_Name(name)
        , m_Handlers(handlers)
        , m_Subscription(controller.Subscribe(*this))
    {
    }

    QJSValue& Of(Kind kind) { return kind == Kind::ChangeState ? m_OnChangeState : m_OnChangeItem; }
    bool IsUsed() const { return m_OnChangeState.isCallable() || m_OnChangeItem.isCallable(); }

    // A handler may remove itself and thereby this object, so nothing may follow the delivery.
    void OnChangeState(qint32 lNewVal) override { m_Handlers.Deliver({m_Name, Kind::ChangeState, lNewVal}); }
    void OnChangeItem(const ItemRef& pICSItem) override
    {
        m_Handlers.Deliver({m_Name, Kind::ChangeItem, ObjectRef(pICSItem)});
    }

private:
    QString m_Name;
    EventHandlers& m_Handlers;
    QJSValue m_OnChangeState{QJSValue::NullValue};
    QJSValue m_OnChangeItem{QJSValue::NullValue};
    EventSubscriptionRef m_Subscription;
};

EventHandlers::EventHandlers(ScriptValues& values, const PreludeFunctions& prelude, std::function<void()> checkServer)
    : m_Values(values)
    , m_Prelude(prelude)
    , m_CheckServer(std::move(checkServer))
{
}

EventHandlers::~EventHandlers() = default;

void EventHandlers::SetHandler(const ControllerRef& controller, Kind kind, const QJSValue& handler)
{
    const QString name = controller->get_Name();
    const bool isFunction = handler.isCallable();
    auto found = m_Subscriptions.find(name);
    if (found == m_Subscriptions.end()) {
        if (!isFunction) return;
        found = m_Subscriptions.emplace(name, std::make_unique<Subscription>(*controller, name, *this)).first;
    }
    found->second->Of(kind) = isFunction ? handler : QJSValue(QJSValue::NullValue);
    if (!found->second->IsUsed()) m_Subscriptions.erase(found);
}

QJSValue EventHandlers::Handler(const ControllerRef& controller, Kind kind)
{
    return HandlerOf(controller->get_Name(), kind);
}

QJSValue EventHandlers::HandlerOf(const QString& controller, Kind kind)
{
    const auto found = m_Subscriptions.find(controller);
    return found == m_Subscriptions.end() ? QJSValue(QJSValue::NullValue) : found->second->Of(kind);
}

EventHandlers::Outcome EventHandlers::Wait(std::optional<int> milliseconds, bool untilHandled)
{
    const Outcome outer = std::exchange(m_Outcome, {});
    m_Lost = nullptr;
    const QScopedValueRollback until(m_UntilHandled, untilHandled);
    HandleWaiting();
    if (!m_Outcome.Thrown && !(untilHandled && m_Outcome.Handled > 0)) RunLoop(milliseconds);
    Outcome outcome = std::exchange(m_Outcome, outer);
    if (m_Lost && !outcome.Thrown) std::rethrow_exception(std::exchange(m_Lost, nullptr));
    return outcome;
}

void EventHandlers::RunLoop(std::optional<int> milliseconds)
{
    QEventLoop loop;
    const QScopedValueRollback current(m_Loop, &loop);
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, [this] { CheckServer(); });
    check.start(CheckIntervalMs);
    if (milliseconds) QTimer::singleShot(*milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

void EventHandlers::CheckServer()
{
    if (m_Subscriptions.empty()) return;
    try {
        m_CheckServer();
    } catch (...) {
        m_Lost = std::current_exception();
        m_Loop->quit();
    }
}

void EventHandlers::Deliver(const Event& event)
{
    if (m_Outcome.Thrown || !m_Loop) m_Waiting.push_back(event);
    else Handle(event);
}

void EventHandlers::Handle(const Event& event)
{
    const QJSValue handler = HandlerOf(event.Controller, event.What);
    if (!handler.isCallable()) return;
    const QScopedValueRollback depth(m_Depth, m_Depth + 1);
    const QJSValue outcome = m_Prelude.Invoke.call({handler, m_Values.ToScript(event.Argument)});
    ++m_Outcome.Handled;
    if (outcome.isObject()) m_Outcome.Thrown = outcome.property(QStringLiteral("error"));
    if (m_Loop && (m_Outcome.Thrown || m_UntilHandled)) m_Loop->quit();
}

void EventHandlers::HandleWaiting()
{
    while (!m_Waiting.empty() && !m_Outcome.Thrown && !IsHandling()) {
        const Event event = std::move(m_Waiting.front());
        m_Waiting.pop_front();
        Handle(event);
    }
}
