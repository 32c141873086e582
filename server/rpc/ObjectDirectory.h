#pragma once

#include "server/rpc/Services.h"
#include "server/rpc/Subscribers.h"

#include <QHash>

#include <capnp/capability.h>

class ControllerServer;
class ItemServer;

/// How many of the server's objects clients hold.
struct HeldCounts
{
    qsizetype Controllers;
    qsizetype Items;
    qsizetype Results;
    std::size_t Subscriptions;
    qint64 Events; ///< that wait for subscribers
};

/// Creates the wire's objects, gives them what they work with, and knows which of them clients hold.
class ObjectDirectory : public PlantObjects
{
public:
    ObjectDirectory(Plant& plant, History& history, CommandHandler& commands, ItemMaker& definitions,
                    SnapshotTaker& snapshots, CallGate& gate);

    /// Makes the first object of each connection; `callsUnderWay` counts that connection's calls.
    wire::Library::Client Library(std::function<int()> callsUnderWay);
    wire::Controller::Client Controller(const PlantControllerRef& controller) override;
    wire::Item::Client Item(const PlantItemRef& item) override;
    kj::Promise<capnp::Capability::Server*> ServerOf(wire::Object::Which kind,
                                                     capnp::Capability::Client reference) override;
    wire::ResultSet::Client Result(const ResultSpoolRef& spool, const HistoryUserRef& user) override;

    /// Objects inside values.
    void Write(const ObjectRef& object, wire::Object::Builder builder) override;
    /// Throws ValueError for an object that does not belong to this server.
    ObjectRef Read(wire::Object::Reader reader) override;

    HeldCounts Held() const;

private:
    Subscribers m_Subscribers;
    Services m_Services;
    QHash<const PlantController*, ControllerServer*> m_Controllers;
    QHash<const PlantItem*, ItemServer*> m_Items;
    /// The same, by what clients refer to.
    capnp::CapabilityServerSet<wire::Controller> m_ControllerServers;
    capnp::CapabilityServerSet<wire::Item> m_ItemServers;
    qsizetype m_Results = 0;
};
