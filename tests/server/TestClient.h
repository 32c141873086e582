#pragma once

#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/velsqllib.capnp.h"
#include "velsqllib/WireText.h"
#include "velsqllib/WireValue.h"

#include <kj/async-io.h>

#include <capnp/rpc-twoparty.h>

/// The one event loop of this test program's clients.
kj::AsyncIoContext& TestLoop();

/// Runs the loop until `done` or for some seconds; whether it became true.
bool WaitUntil(const std::function<bool()>& done, int milliseconds = 10'000);

/// Objects in values: only named, not called.
class NamedObject : public ServerObject
{
public:
    QString Way;
};

class NamedObjects : public WireObjects
{
public:
    void Write(const ObjectRef& object, wire::Object::Builder builder) override;
    ObjectRef Read(wire::Object::Reader reader) override;
};

/// A bare client of a server, as little as possible between a test and the wire.
class TestClient
{
public:
    explicit TestClient(const QString& socketPath);

    wire::Library::Client Library;
    wire::Engine::Client Engine;

    wire::Controller::Client Controller(const QString& name);
    wire::Item::Client Item(const QString& controller, const QString& item);
    Variant Value(const QString& controller, const QString& item);
    void PutValue(const QString& controller, const QString& item, const Variant& value);
    Variant Execute(const QString& command);
    Variant Execute(const QString& controller, const QString& command, const Variant& parameter);

    NamedObjects Objects;

    template <typename Results>
    auto Wait(kj::Promise<Results>&& promise)
    {
        return promise.wait(TestLoop().waitScope);
    }
    template <typename Builder>
    void Set(Builder builder, const Variant& value)
    {
        WriteValue(value, builder, Objects);
    }

private:
    kj::Own<kj::AsyncIoStream> m_Stream;
    capnp::TwoPartyVatNetwork m_Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_Rpc;
};

/// The description with which `call` fails; "succeeded" when it does not.
QString FailureOf(const std::function<void()>& call);

inline Variant Text(const QString& text)
{
    return text;
}
