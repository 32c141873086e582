#include "velsqllib/ClientObjects.h"

#include "core/automation/Errors.h"
#include "velsqllib/ControllerProxy.h"
#include "velsqllib/EngineProxy.h"
#include "velsqllib/HistoryProxy.h"
#include "velsqllib/ItemProxy.h"
#include "velsqllib/WireText.h"

wire::Controller::Client FindController(Connection& connection, const QString& controllerName)
{
    auto request = connection.Engine().getControllerRequest();
    request.initName().setBstr(WireBytes(controllerName));
    return request.send().getResult();
}

wire::Item::Client FindItem(Connection& connection, const QString& controllerName, const QString& itemName)
{
    auto request = FindController(connection, controllerName).getItemRequest();
    request.initName().setBstr(WireBytes(itemName));
    return request.send().getResult();
}

wire::History::Client FindHistory(Connection& connection)
{
    return connection.Engine().getHistoryRequest().send().getResult();
}

namespace {

/// The server finds an object inside a value by its path.
void WriteWay(const ObjectWay& way, wire::Object::Builder builder)
{
    builder.setControllerName(WireBytes(way.ControllerName));
    builder.setItemName(WireBytes(way.ItemName));
}

} // namespace

ClientObjects::ClientObjects(Connection& connection)
    : m_Connection(connection)
{
}

void ClientObjects::Write(const ObjectRef& object, wire::Object::Builder builder)
{
    if (!object) {
        builder.setNone();
    } else if (auto* item = dynamic_cast<ItemProxy*>(object.get())) {
        builder.setItem(item->Client());
        WriteWay(item->Way(), builder);
    } else if (auto* controller = dynamic_cast<ControllerProxy*>(object.get())) {
        builder.setController(controller->Client());
        WriteWay(controller->Way(), builder);
    } else if (auto* engine = dynamic_cast<EngineProxy*>(object.get())) {
        builder.setEngine(engine->Client());
    } else if (auto* history = dynamic_cast<HistoryProxy*>(object.get())) {
        builder.setHistory(history->Client());
    } else {
        throw ValueError(QStringLiteral("Only objects of the server can be sent to it."));
    }
}

ObjectRef ClientObjects::Read(wire::Object::Reader reader)
{
    const ConnectionRef connection = m_Connection.shared_from_this();
    const ObjectWay way{FromWireText(reader.getControllerName()), FromWireText(reader.getItemName())};
    switch (reader.which()) {
    case wire::Object::ENGINE: return std::make_shared<EngineProxy>(connection, way, reader.getEngine());
    case wire::Object::CONTROLLER: return std::make_shared<ControllerProxy>(connection, way, reader.getController());
    case wire::Object::ITEM: return std::make_shared<ItemProxy>(connection, way, reader.getItem());
    case wire::Object::HISTORY: return std::make_shared<HistoryProxy>(connection, way, reader.getHistory());
    case wire::Object::NONE: break;
    }
    return nullptr;
}
