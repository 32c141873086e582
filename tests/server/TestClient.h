#pragma once

#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "tests/server/Outcome.h"
#include "velsqllib/velsqllib.capnp.h"
#include "velsqllib/WireText.h"
#include "velsqllib/WireValue.h"

#include <kj/async-io.h>

#include <capnp/rpc-twoparty.h>

/// The one event loop of this test program's clients.
kj::AsyncIoContext& TestLoop();

template <typename Results>
auto Wait(kj::Promise<Results>&& promise)
{
    return promise.wait(TestLoop().waitScope);
}

/// Runs the loop until `done` or for some seconds; whether it became true.
bool WaitUntil(const std::function<bool()>& done, int milliseconds = 20'000);
void Pause(int milliseconds);

/// Objects inside values, of which a test sees only that they are objects.
class SeenObjects : public WireObjects
{
public:
    void Write(const ObjectRef&, wire::Object::Builder builder) override { builder.setNone(); }
    ObjectRef Read(wire::Object::Reader) override { return std::make_shared<ServerObject>(); }
};

/// A statement that never has a result.
inline const QString EndlessQuery =
    u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n"_s;

/// A bare client of a server, as little as possible between a test and the wire. Items are those of "PLC1" when nothing else is said.
class TestClient
{
public:
    explicit TestClient(const QString& socketPath);
    ~TestClient() noexcept = default;

    wire::Engine::Client& Engine() { return m_Engine; }
    wire::Controller::Client Controller(const QString& name = u"PLC1"_s);
    wire::Item::Client Item(const QString& item, const QString& controller = u"PLC1"_s);
    Variant Value(const QString& item, const QString& controller = u"PLC1"_s);
    QStringList ItemNames(const QString& controller = u"PLC1"_s);
    Variant Execute(const QString& command) { return Read(Wait(Start(command)).getResult()); }
    /// A command of the engine or a statement whose answer nobody waits for yet.
    capnp::RemotePromise<wire::Engine::ExecuteResults> Start(const QString& command);
    capnp::RemotePromise<wire::History::ExecuteResults> Query(const QString& statement);
    /// What the server answers to a ping.
    qint32 CallsUnderWay() { return Wait(m_Library.pingRequest().send()).getCallsUnderWay(); }
    /// Whether it does.
    bool IsAnswered();

    Variant Read(wire::Value::Reader value) { return ReadValue(value, m_Objects); }
    void Set(wire::Value::Builder builder, const Variant& value) { WriteValue(value, builder, m_Objects); }

private:
    kj::Own<kj::AsyncIoStream> m_Socket;
    capnp::TwoPartyClient m_Rpc;
    wire::Library::Client m_Library;
    wire::Engine::Client m_Engine;
    SeenObjects m_Objects;
};
