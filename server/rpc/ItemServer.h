#pragma once

#include "server/rpc/Services.h"
#include "server/rpc/WireServer.h"

/// An item of the plant as clients reach it.
class ItemServer : public WireServer<wire::Item>
{
public:
    ItemServer(Services& services, PlantItemRef item);

    kj::Promise<void> getValue(GetValueContext context) override;
    kj::Promise<void> putValue(PutValueContext context) override;
    kj::Promise<void> snapshot(SnapshotContext context) override;
    kj::Promise<void> getActivation(GetActivationContext context) override;
    kj::Promise<void> putActivation(PutActivationContext context) override;
    kj::Promise<void> getDateTime(GetDateTimeContext context) override;
    kj::Promise<void> getIndex(GetIndexContext context) override;
    kj::Promise<void> getLinkActivation(GetLinkActivationContext context) override;
    kj::Promise<void> putLinkActivation(PutLinkActivationContext context) override;
    kj::Promise<void> getMicrosecond(GetMicrosecondContext context) override;
    kj::Promise<void> getState(GetStateContext context) override;
    kj::Promise<void> getTag(GetTagContext context) override;
    kj::Promise<void> putTag(PutTagContext context) override;
    kj::Promise<void> putValueEx(PutValueExContext context) override;
    kj::Promise<void> getAttribute(GetAttributeContext context) override;
    kj::Promise<void> getDescription(GetDescriptionContext context) override;
    kj::Promise<void> getElements(GetElementsContext context) override;
    kj::Promise<void> getId(GetIdContext context) override;
    kj::Promise<void> putId(PutIdContext context) override;
    kj::Promise<void> getLinkItem(GetLinkItemContext context) override;
    kj::Promise<void> getName(GetNameContext context) override;
    kj::Promise<void> getSettingData(GetSettingDataContext context) override;

protected:
    CalledObject Called() const override;

private:
    /// Throws ServerError once the item has been removed.
    PlantItem& Existing() const;
    Variant Received(wire::Value::Reader value) const;
    void Answer(const Variant& value, wire::Value::Builder result) const;

    Services& m_Services;
    const PlantItemRef m_Item;
};
