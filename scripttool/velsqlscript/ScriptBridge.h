#pragma once

#include "scripttool/velsqlscript/EventHandlers.h"

#include <QElapsedTimer>
#include <QJSEngine>
#include <QObject>

/// The native half of the scripts' environment, called by prelude.js. Failures become script exceptions here.
class ScriptBridge : public QObject
{
    Q_OBJECT

public:
    /// `checkServer` throws when the server does not answer.
    ScriptBridge(QJSEngine& engine, std::function<void()> checkServer);

    /// To be called once, before anything else: sets up the scripts' environment in the engine.
    void RunPrelude();
    /// From now on scripts know the object under this global name.
    void AddObject(const QString& name, const ObjectRef& object);

    /// Returns [{name, isProperty, isWritable}...] for a kind such as "Item".
    Q_INVOKABLE QJSValue Members(const QString& kindName);
    Q_INVOKABLE QStringList TypeNames() const;
    /// `exact` gives a wrapped typed value instead of a plain one.
    Q_INVOKABLE QJSValue Read(const QJSValue& handle, const QString& member, const QJSValue& arguments, bool exact);
    Q_INVOKABLE void Write(const QJSValue& handle, const QString& member, const QJSValue& value);
    Q_INVOKABLE QJSValue Handler(const QJSValue& handle, const QString& event);
    Q_INVOKABLE void SetHandler(const QJSValue& handle, const QString& event, const QJSValue& handler);
    Q_INVOKABLE bool HasRow(const QJSValue& handle, double row);

    // Typed values, wrapped.
    Q_INVOKABLE QJSValue Make(const QString& type, const QJSValue& plain);
    Q_INVOKABLE QJSValue MakeArrayOf(const QString& type, const QJSValue& elements, const QJSValue& lowerBound);
    Q_INVOKABLE QJSValue FromText(const QString& typedText);
    Q_INVOKABLE QJSValue Exact(const QJSValue& plain);

    Q_INVOKABLE void Print(const QString& line, bool isError);
    Q_INVOKABLE void Sleep(double milliseconds);
    /// Undefined waits for ever. Returns the number of events that were handled.
    Q_INVOKABLE int WaitForEvents(const QJSValue& milliseconds);
    /// Ends the process.
    Q_INVOKABLE void Exit(double code);

private:
    /// The engine collects garbage by its own use of memory, which says nothing about the results that the server
    /// holds.
    static constexpr int FewResults = 8;

    template <typename Action>
    auto Guarded(Action action) -> decltype(action());
    void Throw(const QString& errorName, const QString& message);
    QJSValue WrapTyped(const Variant& value);
    int Wait(std::optional<int> milliseconds, bool untilHandled);
    void ReleaseResults();
    void ReleaseManyResults();

    QJSEngine& m_Engine;
    PreludeFunctions m_Prelude;
    ScriptValues m_Values;
    EventHandlers m_Handlers;
    int m_ManyResults = FewResults;
    QElapsedTimer m_Released;
    qint64 m_ReleaseMs = 0; ///< duration of the last release
};
