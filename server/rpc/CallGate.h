#pragma once

#include "core/automation/Errors.h"

#include <QStringList>

#include <capnp/dynamic.h>
#include <kj/async.h>

/// Which object a call is for: its kind ("Engine", "Controller", "Item", "History", ...) and the names that lead to it.
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

/// What every call to the server's objects passes before it is carried out; tests watch and disturb calls here.
class CallGate
{
public:
    using Context = capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer>;

    /// False: Pass need not be called. Most of the time nobody watches.
    bool IsWatched() const { return m_Watched; }
    /// Fulfilled when the call may go on; fails when it is to fail.
    virtual kj::Promise<void> Pass(const CalledObject& object, capnp::InterfaceSchema::Method method,
                                   Context context) = 0;

protected:
    ~CallGate() = default;
    void SetWatched(bool watched) { m_Watched = watched; }

private:
    bool m_Watched = false;
};
