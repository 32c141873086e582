#pragma once

#include "scripttool/velsqlscript/ScriptValues.h"

#include <QEventLoop>

#include <deque>
#include <functional>
#include <map>
#include <optional>

/// The event handlers that a script has set on controllers, and the waiting during which they are called.
class EventHandlers
{
public:
    enum class Kind
    {
        ChangeState,
        ChangeItem
    };

    /// The first two outlive this object. `checkServer` throws when the server does not answer.
    EventHandlers(ScriptValues& values, const PreludeFunctions& prelude, std::function<void()> checkServer);
    ~EventHandlers();

    /// A value that is not a function removes the handler. Throws ServerError when the server refuses the subscription.
    void SetHandler(const ControllerRef& controller, Kind kind, const QJSValue& handler);
    /// Null when there is none.
    QJSValue Handler(const ControllerRef& controller, Kind kind);
    bool AreThereAny() const { return !m_Subscriptions.empty(); }

    /// How a wait ended.
    struct Outcome
    {
        int Handled = 0;                ///< events
        std::optional<QJSValue> Thrown; ///< by a handler, which ends the wait
    };
    /// Waits `milliseconds`, or only until an event was handled. Throws ServerError when the server ends while there
    /// are handlers, which would otherwise wait for ever.
    Outcome Wait(std::optional<int> milliseconds, bool untilHandled);
    /// While a handler runs no other is called.
    bool IsHandling() const { return m_Depth > 0; }

private:
    class Subscription;
    struct Event
    {
        QString Controller;
        Kind What;
        Variant Argument;
    };

    void Deliver(const Event& event);
    /// Calls the handler that the script has now, if any.
    void Handle(const Event& event);
    QJSValue HandlerOf(const QString& controller, Kind kind);
    void HandleWaiting();
    void RunLoop(std::optional<int> milliseconds);
    void CheckServer();

    ScriptValues& m_Values;
    const PreludeFunctions& m_Prelude;
    std::function<void()> m_CheckServer;
    std::map<QString, std::unique_ptr<Subscription>> m_Subscriptions; ///< by the controller's name
    std::deque<Event> m_Waiting; ///< arrived after a handler had thrown: kept for the next wait
    QEventLoop* m_Loop = nullptr;
    bool m_UntilHandled = false;
    int m_Depth = 0;
    Outcome m_Outcome;
    std::exception_ptr m_Lost;
};
