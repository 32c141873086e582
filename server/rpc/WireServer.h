#pragma once

#include "server/rpc/CallGate.h"

#include <capnp/capability.h>

/// `description` as the failure of a call; it reaches the client unchanged.
kj::Exception ToException(const QString& description);

/// The server's end of a wire object: each call passes the gate, and what it throws becomes the client's description.
template <typename Interface>
class WireServer : public Interface::Server
{
public:
    explicit WireServer(CallGate& gate)
        : m_Gate(gate)
    {
    }

    typename Interface::Client Self() { return this->thisCap().template castAs<Interface>(); }

    capnp::Capability::Server::DispatchCallResult
    dispatchCall(uint64_t interfaceId, uint16_t methodId,
                 capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context) override
    {
        if (!m_Gate.IsWatched()) [[likely]]
            return Dispatch(interfaceId, methodId, context);
        const auto method = capnp::Schema::from<Interface>().getMethods()[methodId];
        auto passed = kj::evalNow([&] { return m_Gate.Pass(Called(), method, context); });
        auto done = passed.then([this, interfaceId, methodId, context]() mutable {
            return Dispatch(interfaceId, methodId, context).promise;
        });
        return {kj::mv(done), false};
    }

protected:
    /// Which object it is, as commands name it.
    virtual CalledObject Called() const = 0;

private:
    capnp::Capability::Server::DispatchCallResult
    Dispatch(uint64_t interfaceId, uint16_t methodId, capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context)
    {
        try {
            return Interface::Server::dispatchCall(interfaceId, methodId, context);
        } catch (const kj::Exception&) {
            throw;
        } catch (...) {
            return {ToException(CurrentErrorDescription()), false};
        }
    }

    CallGate& m_Gate;
};
