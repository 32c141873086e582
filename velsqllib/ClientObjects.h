#pragma once

#include "velsqllib/Connection.h"

/// Gets a server's objects by their paths from the engine, without waiting: only inside a call.
wire::Controller::Client FindController(Connection& connection, const QString& controllerName);
wire::Item::Client FindItem(Connection& connection, const QString& controllerName, const QString& itemName);
wire::History::Client FindHistory(Connection& connection);

/// Server objects inside values, as the console holds them: proxies.
class ClientObjects : public WireObjects
{
public:
    explicit ClientObjects(Connection& connection);

    /// Throws ValueError for an object that does not come from the server.
    void Write(const ObjectRef& object, wire::Object::Builder builder) override;
    ObjectRef Read(wire::Object::Reader reader) override;

private:
    Connection& m_Connection;
};
