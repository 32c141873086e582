#include "server/rpc/ObjectDirectory.h"

#include "core/automation/Errors.h"
#include "server/rpc/ControllerServer.h"
#include "server/rpc/ItemServer.h"
#include "velsqllib/WireText.h"

namespace {

void WriteItem(ObjectDirectory& directory, const PlantItemRef& item, wire::Object::Builder builder)
{
    builder.setItem(directory.Item(item));
    builder.setItemName(WireBytes(item->Name()));
    if (item->Controller()) builder.setControllerName(WireBytes(item->Controller()->Name()));
}

} // namespace

void ObjectDirectory::Open(Services& services)
{
    m_Services = &services;
}

wire::Controller::Client ObjectDirectory::Controller(const PlantControllerRef& controller)
{
    if (ControllerServer* held = m_Controllers.value(controller.get())) return held->Self();
    return kj::heap<ControllerServer>(*m_Services, controller);
}

wire::Item::Client ObjectDirectory::Item(const PlantItemRef& item)
{
    if (ItemServer* held = m_Items.value(item.get())) return held->Self();
    return kj::heap<ItemServer>(*m_Services, item);
}

void ObjectDirectory::Write(const ObjectRef& object, wire::Object::Builder builder)
{
    if (auto item = std::dynamic_pointer_cast<PlantItem>(object)) {
        WriteItem(*this, item, builder);
    } else if (auto controller = std::dynamic_pointer_cast<PlantController>(object)) {
        builder.setController(Controller(controller));
        builder.setControllerName(WireBytes(controller->Name()));
    } else {
        builder.setNone();
    }
}

ObjectRef ObjectDirectory::Read(wire::Object::Reader reader)
{
    const Plant& plant = m_Services->World;
    switch (reader.which()) {
    case wire::Object::NONE: return nullptr;
    case wire::Object::CONTROLLER: return plant.Controller(FromWireText(reader.getControllerName()));
    case wire::Object::ITEM:
        return plant.Controller(FromWireText(reader.getControllerName()))->Item(FromWireText(reader.getItemName()));
    default: throw ValueError(QStringLiteral("Only controllers and items can be kept inside values."));
    }
}
