#pragma once

#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/rpc/CallGate.h"

class ObjectDirectory;

/// What operators can ask engine and controllers to do beyond their operations.
class CommandHandler
{
public:
    /// Throws DescribedError, or the promise fails.
    virtual kj::Promise<Variant> ExecuteOnEngine(const QString& command) = 0;
    virtual kj::Promise<Variant> ExecuteOnController(PlantController& controller, const QString& command,
                                                     const Variant& parameter) = 0;
    /// The names that a controller's list of items shows.
    virtual QStringList ListedItems(const PlantController& controller) const = 0;

protected:
    ~CommandHandler() = default;
};

/// Everything the wire's objects work with; it outlives them all.
struct Services
{
    Plant& World;
    History& Records;
    CommandHandler& Commands;
    ItemMaker& Definitions;
    CallGate& Gate;
    ObjectDirectory& Objects;
};
