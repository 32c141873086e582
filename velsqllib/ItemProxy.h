#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Proxy.h"

/// An item of the server as the console sees it.
class ItemProxy : public VelSQLItem, public Proxy<wire::Item>
{
public:
    using Proxy::Proxy;

    Variant get_Value() override;
    void put_Value(const Variant& value) override;
    void Snapshot() override;
    bool get_Activation() override;
    void put_Activation(bool active) override;
    Variant get_DateTime() override;
    qint32 get_Index() override;
    bool get_LinkActivation() override;
    void put_LinkActivation(bool active) override;
    qint32 get_Microsecond() override;
    qint32 get_State() override;
    Variant get_Tag() override;
    void put_Tag(const Variant& value) override;
    void put_ValueEx(qint32 delay, const Variant& value) override;
    qint32 get_Attribute() override;
    QString get_Description() override;
    Variant get_Elements(qint32 index1, qint32 index2, qint32 index3) override;
    Variant get_ID() override;
    void put_ID(const Variant& value) override;
    Variant get_LinkItem() override;
    QString get_Name() override;
    Variant get_SettingData(qint32 index) override;

private:
    /// Fills in the one argument "value".
    auto Value(const Variant& value)
    {
        return [this, &value](auto& request) { WriteValue(value, request.initValue(), Objects()); };
    }
};
