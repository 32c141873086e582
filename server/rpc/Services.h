#pragma once

#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/rpc/CallGate.h"
#include "velsqllib/WireValue.h"

class Subscribers;

/// What operators can ask engine and controllers to do beyond their operations.
class CommandHandler
{
public:
    /// Throws DescribedError, or the promise is rejected.
    virtual kj::Promise<Variant> ExecuteOnEngine(const QString& command) = 0;
    virtual kj::Promise<Variant> ExecuteOnController(PlantController& controller, const QString& command,
                                                     const Variant& parameter) = 0;
    /// The names that a controller's list of items shows, the first `most` of them.
    virtual QStringList ListedItems(const PlantController& controller, qsizetype most) const = 0;

protected:
    ~CommandHandler() = default;
};

/// Reads the items of controllers while the server does other work.
class SnapshotTaker
{
public:
    /// Every active item once, one controller after the other; fulfilled when all are read. Ends with the promise.
    virtual kj::Promise<void> Snapshot(QList<PlantControllerRef> controllers) = 0;

protected:
    ~SnapshotTaker() = default;
};

/// Hands out the wire's objects: one for each object of the plant, for as long as a client holds it.
class PlantObjects : public WireObjects
{
public:
    virtual wire::Controller::Client Controller(const PlantControllerRef& controller) = 0;
    virtual wire::Item::Client Item(const PlantItemRef& item) = 0;
    /// This process's end of an item or controller that a client refers to; null for anything else.
    virtual kj::Promise<capnp::Capability::Server*> ServerOf(wire::Object::Which kind,
                                                             capnp::Capability::Client reference) = 0;
    /// Also counted for `user`.
    virtual wire::ResultSet::Client Result(const ResultSpoolRef& spool, const HistoryUserRef& user) = 0;

protected:
    ~PlantObjects() = default;
};

/// Everything that the wire's objects work with; it outlives them all.
struct Services
{
    ::Plant& Plant;
    ::History& History;
    CommandHandler& Commands;
    ItemMaker& Definitions;
    SnapshotTaker& Snapshots;
    CallGate& Gate;
    PlantObjects& Objects;
    Subscribers& AllSubscribers;
};
