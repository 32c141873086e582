#include "server/rpc/ObjectDirectory.h"

#include "core/automation/Errors.h"
#include "server/rpc/ControllerServer.h"
#include "server/rpc/EngineServer.h"
#include "server/rpc/HistoryServer.h"
#include "server/rpc/ItemServer.h"
#include "velsqllib/WireText.h"

namespace {

/// The only reference to `object`, created when there is none; `held` knows its server until the last client lets go.
template <typename Wire, typename Server, typename Object>
auto ReferenceTo(const std::shared_ptr<Object>& object, QHash<const Object*, Server*>& held,
                 capnp::CapabilityServerSet<Wire>& servers, Services& services)
{
    if (Server* known = held.value(object.get())) return known->Self();
    auto made = kj::heap<Server>(services, object);
    held.insert(object.get(), made.get());
    auto forget = kj::defer([&held, key = object.get()] { held.remove(key); });
    return servers.add(made.attach(kj::mv(forget)));
}

template <typename Wire>
kj::Promise<capnp::Capability::Server*> FindServer(capnp::CapabilityServerSet<Wire>& servers,
                                                   typename Wire::Client reference)
{
    return servers.getLocalServer(reference).then(
        [](kj::Maybe<typename Wire::Server&> server) -> capnp::Capability::Server* {
            KJ_IF_MAYBE (found, server) return found;
            return nullptr;
        });
}

} // namespace

ObjectDirectory::ObjectDirectory(Plant& plant, History& history, CommandHandler& commands, ItemMaker& definitions,
                                 SnapshotTaker& snapshots, CallGate& gate)
    : m_Services{plant, history, commands, definitions, snapshots, gate, *this, m_Subscribers}
{
}

wire::Library::Client ObjectDirectory::Library(std::function<int()> callsUnderWay)
{
    return kj::heap<LibraryServer>(m_Services, std::move(callsUnderWay));
}

wire::Controller::Client ObjectDirectory::Controller(const PlantControllerRef& controller)
{
    return ReferenceTo(controller, m_Controllers, m_ControllerServers, m_Services);
}

wire::Item::Client ObjectDirectory::Item(const PlantItemRef& item)
{
    return ReferenceTo(item, m_Items, m_ItemServers, m_Services);
}

kj::Promise<capnp::Capability::Server*> ObjectDirectory::ServerOf(wire::Object::Which kind,
                                                                  capnp::Capability::Client reference)
{
    if (kind == wire::Object::ITEM) return FindServer(m_ItemServers, reference.castAs<wire::Item>());
    if (kind == wire::Object::CONTROLLER) return FindServer(m_ControllerServers, reference.castAs<wire::Controller>());
    return static_cast<capnp::Capability::Server*>(nullptr); // a bare one would be a promise of nothing
}

wire::ResultSet::Client ObjectDirectory::Result(const ResultSpoolRef& spool, const HistoryUserRef& user)
{
    ++m_Results;
    auto forget = kj::defer([this] { --m_Results; });
    return kj::heap<ResultSetServer>(m_Services.Gate, spool).attach(kj::mv(forget), user->HoldResult());
}

HeldCounts ObjectDirectory::Held() const
{
    return {m_Controllers.size(), m_Items.size(), m_Results, m_Subscribers.Count(), m_Subscribers.Waiting()};
}

void ObjectDirectory::Write(const ObjectRef& object, wire::Object::Builder builder)
{
    if (auto item = std::dynamic_pointer_cast<PlantItem>(object)) {
        builder.setItem(Item(item));
        builder.setItemName(WireBytes(item->Name()));
        if (item->Controller()) builder.setControllerName(WireBytes(item->Controller()->Name()));
    } else if (auto controller = std::dynamic_pointer_cast<PlantController>(object)) {
        builder.setController(Controller(controller));
        builder.setControllerName(WireBytes(controller->Name()));
    } else {
        builder.setNone();
    }
}

ObjectRef ObjectDirectory::Read(wire::Object::Reader reader)
{
    const Plant& plant = m_Services.Plant;
    switch (reader.which()) {
    case wire::Object::NONE: return nullptr;
    case wire::Object::CONTROLLER: return plant.Controller(FromWireText(reader.getControllerName()));
    case wire::Object::ITEM:
        return plant.Controller(FromWireText(reader.getControllerName()))->Item(FromWireText(reader.getItemName()));
    default: throw ValueError(QStringLiteral("Only controllers and items can be kept inside values."));
    }
}
