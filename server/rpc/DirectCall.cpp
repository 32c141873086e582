#include "server/rpc/DirectCall.h"

namespace {

[[noreturn]] void RefuseToPassOn()
{
    kj::throwFatalException(kj::Exception(kj::Exception::Type::UNIMPLEMENTED, __FILE__, __LINE__,
                                          kj::str("No call is passed on to another object.")));
}

} // namespace

DirectCall::DirectCall(capnp::AnyPointer::Reader parameters, capnp::AnyPointer::Builder results)
    : m_Parameters(parameters)
    , m_Results(results)
{
}

kj::Promise<void> DirectCall::Make(capnp::Capability::Server& server, quint64 interfaceId, quint16 method,
                                   capnp::AnyPointer::Reader parameters, capnp::AnyPointer::Builder results)
{
    auto call = kj::refcounted<DirectCall>(parameters, results);
    auto done = kj::evalNow([&] {
        const capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer> context(*call);
        return server.dispatchCall(interfaceId, method, context).promise;
    });
    return done.attach(kj::mv(call));
}

kj::Promise<void> DirectCall::tailCall(kj::Own<capnp::RequestHook>&&)
{
    RefuseToPassOn();
}

capnp::ClientHook::VoidPromiseAndPipeline DirectCall::directTailCall(kj::Own<capnp::RequestHook>&&)
{
    RefuseToPassOn();
}
