#pragma once

#include "server/plant/Plant.h"
#include "server/rpc/Subscribers.h"
#include "velsqllib/WireValue.h"

#include <QHash>

struct Services;
class ItemServer;
class ControllerServer;

/// Hands out the wire's objects, one for each object of the plant as long as a client holds it, and knows which are held.
class ObjectDirectory : public WireObjects
{
public:
    /// To be called once, before anything else: the services hold this directory themselves.
    void Open(Services& services);

    wire::Controller::Client Controller(const PlantControllerRef& controller);
    wire::Item::Client Item(const PlantItemRef& item);

    /// Objects inside values.
    void Write(const ObjectRef& object, wire::Object::Builder builder) override;
    /// Throws ValueError for an object that is none of this server's.
    ObjectRef Read(wire::Object::Reader reader) override;

    qsizetype HeldControllers() const { return m_Controllers.size(); }
    qsizetype HeldItems() const { return m_Items.size(); }
    qint32 HeldResults = 0;
    Subscribers& AllSubscribers() { return m_Subscribers; }
    const Subscribers& AllSubscribers() const { return m_Subscribers; }

private:
    friend class ItemServer;
    friend class ControllerServer;

    Services* m_Services = nullptr;
    Subscribers m_Subscribers;
    QHash<const PlantController*, ControllerServer*> m_Controllers;
    QHash<const PlantItem*, ItemServer*> m_Items;
};
