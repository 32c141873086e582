#include "velsqllib/ControllerProxy.h"

#include "core/automation/PlainText.h"
#include "velsqllib/ControllerSubscription.h"
#include "velsqllib/ItemProxy.h"

ItemRef ControllerProxy::get_Item(const Variant& name)
{
    return Call(
        &WireClient::getItemRequest, [&](auto& request) { WriteValue(name, request.initName(), Objects()); },
        [&](auto& response) {
            return std::make_shared<ItemProxy>(GetConnection(), ObjectWay{Way().ControllerName, ToPlainText(name)},
                                               response.getResult());
        });
}

void ControllerProxy::Start()
{
    Do(&WireClient::startRequest);
}

void ControllerProxy::Stop()
{
    Do(&WireClient::stopRequest);
}

void ControllerProxy::Snapshot()
{
    Do(&WireClient::snapshotRequest);
}

void ControllerProxy::AddItem(const Variant& definition)
{
    Do(&WireClient::addItemRequest,
       [&](auto& request) { WriteValue(definition, request.initDefinition(), Objects()); });
}

void ControllerProxy::RemoveItem(const QString& name)
{
    Do(&WireClient::removeItemRequest, [&](auto& request) { request.setName(WireBytes(name)); });
}

Variant ControllerProxy::Execute(const QString& command, const Variant& parameter)
{
    return GetValue(&WireClient::executeRequest, [&](auto& request) {
        request.setCommand(WireBytes(command));
        WriteValue(parameter, request.initParameter(), Objects());
    });
}

qint32 ControllerProxy::get_Count()
{
    return GetNumber(&WireClient::getCountRequest);
}

qint32 ControllerProxy::get_Index()
{
    return GetNumber(&WireClient::getIndexRequest);
}

Variant ControllerProxy::get_ItemNames()
{
    return GetValue(&WireClient::getItemNamesRequest);
}

qint32 ControllerProxy::get_ScanTimes(qint32 index)
{
    return GetNumber(&WireClient::getScanTimesRequest, [&](auto& request) { request.setIndex(index); });
}

qint32 ControllerProxy::get_State()
{
    return GetNumber(&WireClient::getStateRequest);
}

Variant ControllerProxy::get_Tag()
{
    return GetValue(&WireClient::getTagRequest);
}

void ControllerProxy::put_Tag(const Variant& value)
{
    Do(&WireClient::putTagRequest, [&](auto& request) { WriteValue(value, request.initValue(), Objects()); });
}

QString ControllerProxy::get_Description()
{
    return GetText(&WireClient::getDescriptionRequest);
}

QString ControllerProxy::get_Name()
{
    return GetText(&WireClient::getNameRequest);
}

Variant ControllerProxy::get_SettingData(const Variant& index)
{
    return GetValue(&WireClient::getSettingDataRequest,
                    [&](auto& request) { WriteValue(index, request.initIndex(), Objects()); });
}

EventSubscriptionRef ControllerProxy::Subscribe(ControllerEvents& events)
{
    return std::make_unique<ControllerSubscription>(GetConnection(), Way().ControllerName, events);
}
