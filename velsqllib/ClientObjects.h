#pragma once

#include "velsqllib/Connection.h"

/// The objects of a server by the way from its engine, asked for without waiting: only inside a call.
wire::Controller::Client FindController(Connection& connection, const QString& controllerName);
wire::Item::Client FindItem(Connection& connection, const QString& controllerName, const QString& itemName);
wire::History::Client FindHistory(Connection& connection);

/// Server objects inside values, as the console holds them: proxies.
class ClientObjects : public WireObjects
{
public:
    explicit ClientObjects(Connection& connection);

    /// Throws ValueError for an object that is not the server's.
    void Write(const ObjectRef& object, wire::Object::Builder builder) override;
    ObjectRef Read(wire::Object::Reader reader) override;

private:
    Connection& m_Connection;
};
