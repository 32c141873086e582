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
    /// Over a stream of the test's own.
    explicit TestClient(kj::Own<kj::AsyncIoStream> stream);

    wire::Library::Client Library;
    wire::Engine::Client Engine;

    wire::Controller::Client Controller(const QString& name);
    wire::Item::Client Item(const QString& controller, const QString& item);
    Variant Value(const QString& controller, const QString& item);
    void PutValue(const QString& controller, const QString& item, const Variant& value);
    Variant Execute(const QString& command);
    wire::Subscription::Client Subscribe(const QString& controller, QStringList& seen);
    /// A statement whose result nobody waits for yet.
    capnp::RemotePromise<wire::History::ExecuteResults> Query(const QString& statement);
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

/// A connected stream to a server.
kj::Own<kj::AsyncIoStream> Connect(const QString& socketPath);

/// Notes the events that arrive: "state 1", "<controller>\\<item>".
class Subscriber : public wire::ControllerEvents::Server
{
public:
    explicit Subscriber(QStringList& seen)
        : m_Seen(seen)
    {
    }
    kj::Promise<void> onChangeState(OnChangeStateContext context) override;
    kj::Promise<void> onChangeItem(OnChangeItemContext context) override;

private:
    QStringList& m_Seen;
};

/// The description with which `call` fails; "succeeded" when it does not.
QString FailureOf(const std::function<void()>& call);

inline Variant Text(const QString& text)
{
    return text;
}
