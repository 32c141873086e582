#include "velsqllib/EngineProxy.h"

#include "core/automation/PlainText.h"
#include "velsqllib/ControllerProxy.h"
#include "velsqllib/HistoryProxy.h"
#include "velsqllib/ItemProxy.h"

ControllerRef EngineProxy::get_Controller(const Variant& name)
{
    return Call(
        &WireClient::getControllerRequest, [&](auto& request) { WriteValue(name, request.initName(), Objects()); },
        ObjectResult<ControllerProxy>{{ToPlainText(name), {}}});
}

/// The item is asked for before the controller has arrived. Without the controller this fails as get_Controller does.
FoundItem EngineProxy::FindItem(const QString& controllerName, const QString& itemName)
{
    wire::Controller::Client controller = nullptr;
    const auto send = [&] {
        controller = FindController(*GetConnection(), controllerName);
        auto request = controller.getItemRequest();
        request.initName().setBstr(WireBytes(itemName));
        return request.send();
    };
    return GetConnection()->Call(send, [&](auto response) {
        return FoundItem{
            std::make_shared<ControllerProxy>(GetConnection(), ObjectWay{controllerName, {}}, controller),
            std::make_shared<ItemProxy>(GetConnection(), ObjectWay{controllerName, itemName}, response.getResult())};
    });
}

void EngineProxy::Start()
{
    Call(&WireClient::startRequest);
}

void EngineProxy::Stop()
{
    Call(&WireClient::stopRequest);
}

void EngineProxy::Snapshot()
{
    Call(&WireClient::snapshotRequest);
}

Variant EngineProxy::Execute(const QString& command)
{
    return Call(&WireClient::executeRequest, [&](auto& request) { request.setCommand(WireBytes(command)); });
}

HistoryRef EngineProxy::get_History()
{
    return Call(&WireClient::getHistoryRequest, NoArguments, ObjectResult<HistoryProxy>{});
}

Variant EngineProxy::get_ControllerNames()
{
    return Call(&WireClient::getControllerNamesRequest);
}
