#pragma once

#include "core/automation/Errors.h"

#include <QStringList>

#include <capnp/dynamic.h>
#include <kj/async.h>

/// The object that a call is for: its kind ("Engine", "Controller", "Item", "History", ...) and the names that lead to
/// it.
struct CalledObject
{
    QString Kind;
    QString Controller;
    QString Item;

    /// "Engine", "Controller(PLC1)", "Item(PLC1\D100)".
    QString Text() const;
};

/// A method's name as the console's log prints operations: "get_Value", "put_ID", "Start".
QString OperationName(capnp::InterfaceSchema::Method method);

/// Every call to the server's objects passes through here before it is carried out; tests watch and disturb calls here.
class CallGate
{
public:
    using Context = capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer>;

    /// When false, Pass need not be called. Most of the time nobody watches.
    bool IsWatched() const { return m_Watched; }
    /// Fulfilled when the call may go on; rejected when the call is to fail.
    virtual kj::Promise<void> Pass(const CalledObject& object, capnp::InterfaceSchema::Method method,
                                   Context context) = 0;

protected:
    ~CallGate() = default;
    void SetWatched(bool watched) { m_Watched = watched; }

private:
    bool m_Watched = false;
};
