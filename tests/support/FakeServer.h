#pragma once

#include "core/automation/ServerObjects.h"

#include <QMap>
#include <QStringList>

#include <functional>
#include <optional>

/// A server made of tables: answers every operation from its members, records every call, and fails where told.
class FakeServer : public VelSQLLib
{
public:
    struct Item
    {
        QString Name = {};
        Variant Value = {}, Tag = {}, ID = {}, LinkItem = {}, Elements = {};
        qint32 Attribute = 0;
        qint32 State = 0;
        bool Activation = true;
        bool LinkActivation = false;
        Variant SettingData = {};
        Variant DateTime = Date{45000.5};
        qint32 Microsecond = 0;
        QString Description = {};
    };
    struct Controller
    {
        QString Name = {};
        QList<Item> Items = {};
        qint32 State = 1;
        Variant Tag = {};
        Variant ExecuteResult = {};
        Variant SettingData = {};
        QString Description = {};
        /// What the server says of its items when it is not simply `Items`.
        std::optional<Variant> ListedNames = {};
        std::optional<qint32> ListedCount = {};
    };
    /// The settings of destinations 1 and 2 stand at 0 and 1.
    struct History
    {
        QStringList ConnectionString = {QStringLiteral("Driver=First"), QStringLiteral("Driver=Second")};
        bool Enabled = true;
        QList<qint32> MaxRecord = {1000, 0};
        QStringList TableName = {QStringLiteral("velsql_history"), QString()};
        ResultSetRef Result;
    };
    /// Of a controller, who is told.
    using Subscriber = std::pair<QString, ControllerEvents*>;

    /// "PLC1" with the items "D100" (I4 25) and "D200" (BSTR "abc"); "PLC2" without items.
    FakeServer();
    ~FakeServer() override;

    QString Absence() const override { return m_Absence; }
    void OnServerChange(std::function<void()> action) override { m_ServerChange = std::move(action); }
    /// From now on the server is gone for this reason; there again when it is empty.
    void SetAbsence(const QString& reason)
    {
        m_Absence = reason;
        m_ServerChange();
    }

    EngineRef CreateEngine() override;
    ValueConverterRef CreateValueConverter() override;
    bool IsPrompt() const override { return m_IsPrompt; }

    /// Throw ServerError for names that the server does not have.
    Controller& FindController(const QString& controller);
    Item& FindItem(const QString& controller, const QString& item);

    QList<Controller> m_Controllers;
    /// What the server says of its controllers when it is not simply `m_Controllers`.
    std::optional<Variant> m_ListedControllers;
    History m_History;
    bool m_IsPrompt = true;
    Variant m_EngineExecuteResult;
    /// The definition that the last AddItem brought; its element 0 became the name of the new item.
    Variant m_AddedDefinition;
    /// Every call in order, as "Object(name).Operation(arguments)", look-ups included; typed arguments as typed text,
    /// such as "Item(D100).put_Value(3,25)". The converter's work is local and not recorded.
    QStringList m_Calls;
    /// From now on the n-th call (1: the next one) fails once with `description`; 0: none fails.
    void FailCall(int n, const QString& description);
    /// From now on every call of this operation, such as "get_Value", fails; a null description: works again.
    void FailOperation(const QString& operation, const QString& description);
    /// Objects of this server, converters apart, that are still referenced.
    int m_LiveObjects = 0;

    ItemRef MakeItem(const QString& controller, const QString& item);
    /// Delivers an event to the subscribers of a controller.
    void FireState(const QString& controller, qint32 state);
    void FireItem(const QString& controller, const QString& item);
    /// The controllers subscribed to, once per open subscription.
    QStringList Subscriptions() const;

    /// Called by the objects before they answer.
    void Record(const QString& call, const QString& operation);
    /// One for each open subscription.
    QList<Subscriber> m_Subscribers;

private:
    void Fire(const QString& controller, const std::function<void(ControllerEvents&)>& deliver);

    QString m_Absence;
    std::function<void()> m_ServerChange = [] {};
    int m_FailIn = 0;
    QString m_FailDescription;
    QMap<QString, QString> m_FailingOperations;
};
