#include "velsqllib/EngineProxy.h"

#include "core/automation/PlainText.h"
#include "velsqllib/ControllerProxy.h"
#include "velsqllib/HistoryProxy.h"

ControllerRef EngineProxy::get_Controller(const Variant& name)
{
    return Call(
        &WireClient::getControllerRequest, [&](auto& request) { WriteValue(name, request.initName(), Objects()); },
        [&](auto& response) {
            return std::make_shared<ControllerProxy>(GetConnection(), ObjectWay{ToPlainText(name), {}},
                                                     response.getResult());
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
    return Call(&WireClient::getHistoryRequest, NoArguments, [&](auto& response) {
        return std::make_shared<HistoryProxy>(GetConnection(), ObjectWay{}, response.getResult());
    });
}

Variant EngineProxy::get_ControllerNames()
{
    return Call(&WireClient::getControllerNamesRequest);
}
