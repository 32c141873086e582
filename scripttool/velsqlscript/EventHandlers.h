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

    /// `values` and `prelude` outlive this object. `checkServer` throws when the server does not answer.
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
        int Handled = 0;                ///< number of events
        std::optional<QJSValue> Thrown; ///< by a handler; this ends the wait
    };
    /// Waits for `milliseconds`, or only until an event has been handled. Throws ServerError when the server ends while
    /// there are handlers, because these would then wait for ever.
    Outcome Wait(std::optional<int> milliseconds, bool untilHandled);
    /// No handler is called while another one runs.
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
    /// Calls the script's current handler, if there is one.
    void Handle(const Event& event);
    QJSValue HandlerOf(const QString& controller, Kind kind);
    void HandleWaiting();
    void RunLoop(std::optional<int> milliseconds);
    void CheckServer();

    ScriptValues& m_Values;
    const PreludeFunctions& m_Prelude;
    std::function<void()> m_CheckServer;
    std::map<QString, std::unique_ptr<Subscription>> m_Subscriptions; ///< key: the controller's name
    /// Arrived after a handler had thrown; kept for the next wait.
    std::deque<Event> m_Waiting;
    QEventLoop* m_Loop = nullptr;
    bool m_UntilHandled = false;
    int m_Depth = 0;
    Outcome m_Outcome;
    std::exception_ptr m_Lost;
};
