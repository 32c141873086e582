#pragma once

#include "server/rpc/Services.h"
#include "server/rpc/WireServer.h"

/// A controller of the plant as clients reach it.
class ControllerServer : public WireServer<wire::Controller>
{
public:
    ControllerServer(Services& services, PlantControllerRef controller);

    kj::Promise<void> getItem(GetItemContext context) override;
    kj::Promise<void> start(StartContext context) override;
    kj::Promise<void> stop(StopContext context) override;
    kj::Promise<void> snapshot(SnapshotContext context) override;
    kj::Promise<void> addItem(AddItemContext context) override;
    kj::Promise<void> removeItem(RemoveItemContext context) override;
    kj::Promise<void> execute(ExecuteContext context) override;
    kj::Promise<void> getCount(GetCountContext context) override;
    kj::Promise<void> getIndex(GetIndexContext context) override;
    kj::Promise<void> getItemNames(GetItemNamesContext context) override;
    kj::Promise<void> getScanTimes(GetScanTimesContext context) override;
    kj::Promise<void> getState(GetStateContext context) override;
    kj::Promise<void> getTag(GetTagContext context) override;
    kj::Promise<void> putTag(PutTagContext context) override;
    kj::Promise<void> getDescription(GetDescriptionContext context) override;
    kj::Promise<void> getName(GetNameContext context) override;
    kj::Promise<void> getSettingData(GetSettingDataContext context) override;
    kj::Promise<void> subscribe(SubscribeContext context) override;

protected:
    CalledObject Called() const override;

private:
    Services& m_Services;
    const PlantControllerRef m_Controller;
};

/// The text of a name argument. Throws ServerError when it is not a text.
QString NameArgument(wire::Value::Reader name, WireObjects& objects);
