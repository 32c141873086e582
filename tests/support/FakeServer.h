#pragma once

#include "core/automation/ServerObjects.h"

#include <QMap>
#include <QStringList>

/// A server made of tables: answers every operation from its members, records every call, and fails where told.
class FakeServer : public VelSQLLib
{
public:
    struct Item
    {
        QString Name;
        Variant Value, Tag, ID, LinkItem, Elements;
        qint32 Attribute = 0;
        qint32 State = 0;
        bool Activation = true;
        bool LinkActivation = false;
        Variant SettingData;
    };
    struct Controller
    {
        QString Name;
        QList<Item> Items;
        qint32 State = 1;
        Variant Tag;
        Variant ExecuteResult;
    };

    /// "PLC1" with the items "D100" (I4 25) and "D200" (BSTR "abc"); "PLC2" without items.
    FakeServer();

    EngineRef CreateEngine() override;
    ValueConverterRef CreateValueConverter() override;

    Item& FindItem(const QString& controller, const QString& item);

    QList<Controller> m_Controllers;
    Variant m_EngineExecuteResult;
    /// Every call in order, as "Object(name).Operation(argument types or texts)"; look-ups included.
    QStringList m_Calls;
    /// From now on the n-th call (1: the next one) fails once with `description`; 0: none fails.
    void FailCall(int n, const QString& description);
    /// From now on every call of this operation, such as "get_Value", fails; a null description: works again.
    void FailOperation(const QString& operation, const QString& description);
    /// Objects of this server that are still referenced.
    int m_LiveObjects = 0;
    /// Open subscriptions, as "controller name".
    QStringList m_Subscriptions;
    /// Delivers an event to the subscribers of a controller.
    void FireState(const QString& controller, qint32 state);
    void FireItem(const QString& controller, const QString& item);

    /// Called by the objects before they answer.
    void Record(const QString& call, const QString& operation);

private:
    int m_FailIn = 0;
    QString m_FailDescription;
    QMap<QString, QString> m_FailingOperations;
};
