#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Proxy.h"

/// A controller of the server as the console sees it.
class ControllerProxy : public VelSQLController, public Proxy<wire::Controller>
{
public:
    using Proxy::Proxy;

    ItemRef get_Item(const Variant& name) override;
    void Start() override;
    void Stop() override;
    void Snapshot() override;
    void AddItem(const Variant& definition) override;
    void RemoveItem(const QString& name) override;
    Variant Execute(const QString& command, const Variant& parameter) override;
    qint32 get_Count() override;
    qint32 get_Index() override;
    Variant get_ItemNames() override;
    void UseItemNames(quint32 most, const std::function<void(const TextList& names)>& use) override;
    qint32 get_ScanTimes(qint32 index) override;
    qint32 get_State() override;
    Variant get_Tag() override;
    void put_Tag(const Variant& value) override;
    QString get_Description() override;
    QString get_Name() override;
    Variant get_SettingData(const Variant& index) override;
    EventSubscriptionRef Subscribe(ControllerEvents& events) override;
};
