#pragma once

#include <capnp/capability.h>
#include <QtGlobal>

/// A call on one of this process's own objects that reads its parameters and writes its results where they stand in
/// other messages: a third of the work of a call through a reference.
class DirectCall final : public capnp::CallContextHook, public kj::Refcounted
{
public:
    /// Calls `server`, which must stay for as long as the promise, as must both messages.
    static kj::Promise<void> Make(capnp::Capability::Server& server, quint64 interfaceId, quint16 method,
                                  capnp::AnyPointer::Reader parameters, capnp::AnyPointer::Builder results);

    DirectCall(capnp::AnyPointer::Reader parameters, capnp::AnyPointer::Builder results);

    capnp::AnyPointer::Reader getParams() override { return m_Parameters; }
    void releaseParams() override {}
    capnp::AnyPointer::Builder getResults(kj::Maybe<capnp::MessageSize>) override { return m_Results; }
    void allowCancellation() override {}
    void setPipeline(kj::Own<capnp::PipelineHook>&&) override {}
    kj::Own<capnp::CallContextHook> addRef() override { return kj::addRef(*this); }

    // No object of ours passes calls on.
    kj::Promise<void> tailCall(kj::Own<capnp::RequestHook>&& request) override;
    kj::Promise<capnp::AnyPointer::Pipeline> onTailCall() override { return kj::NEVER_DONE; }
    capnp::ClientHook::VoidPromiseAndPipeline directTailCall(kj::Own<capnp::RequestHook>&& request) override;

private:
    capnp::AnyPointer::Reader m_Parameters;
    capnp::AnyPointer::Builder m_Results;
};
