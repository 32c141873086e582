#pragma once

#include "server/rpc/CallGate.h"
#include "velsqllib/WireText.h"

#include <capnp/capability.h>

/// The server's end of a wire object: each call passes the gate, and its exception becomes the client's description.
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
        const capnp::InterfaceSchema schema = capnp::Schema::from<Interface>();
        const bool isKnown = interfaceId == schema.getProto().getId() && methodId < schema.getMethods().size();
        if (!m_Gate.IsWatched() || !isKnown) [[likely]] // what a newer client may ask for is refused below
            return Dispatch(interfaceId, methodId, context);
        // A call that is held up ends with its client.
        context.allowCancellation();
        auto passed = kj::evalNow([&] { return m_Gate.Pass(Called(), schema.getMethods()[methodId], context); });
        auto done = passed.then([this, interfaceId, methodId, context]() mutable {
            return Dispatch(interfaceId, methodId, context).promise;
        });
        return {kj::mv(done), false};
    }

protected:
    /// The object's identity, as commands name it.
    virtual CalledObject Called() const = 0;

private:
    capnp::Capability::Server::DispatchCallResult
    Dispatch(uint64_t interfaceId, uint16_t methodId, capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context)
    {
        try {
            return Interface::Server::dispatchCall(interfaceId, methodId, context);
        } catch (const kj::Exception& exception) {
            // Of an answer that is too large for what memory there is: said in the words of the code.
            if (exception.getType() != kj::Exception::Type::OVERLOADED) throw;
            return {ToException(QStringLiteral("Out of memory")), false};
        } catch (...) {
            return {ToException(CurrentErrorDescription()), false};
        }
    }

    CallGate& m_Gate;
};
