#pragma once

#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "tests/server/Outcome.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/velsqllib.capnp.h"
#include "velsqllib/WireText.h"
#include "velsqllib/WireValue.h"

#include <kj/async-io.h>
#include <kj/timer.h>
#include <QDeadlineTimer>

#include <capnp/rpc-twoparty.h>

/// The one event loop of this test program's clients.
inline kj::AsyncIoContext& TestLoop()
{
    static auto* loop = new kj::AsyncIoContext(kj::setupAsyncIo()); // lives as long as the program
    return *loop;
}

template <typename Results>
auto Wait(kj::Promise<Results>&& promise)
{
    return promise.wait(TestLoop().waitScope);
}

inline void Pause(int milliseconds)
{
    Wait(TestLoop().provider->getTimer().afterDelay(milliseconds * kj::MILLISECONDS));
}

/// Runs the loop until `done` or for some seconds; whether it became true.
inline bool WaitUntil(const std::function<bool()>& done, int milliseconds = 20'000)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!done() && !deadline.hasExpired()) Pause(5);
    return done();
}

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
    explicit TestClient(const QString& socketPath)
        : m_Socket(Connect(socketPath))
    {
    }
    ~TestClient() noexcept = default;

    wire::Library::Client& Library() { return m_Library; }
    wire::Engine::Client& Engine() { return m_Engine; }
    wire::Controller::Client Controller(const QString& name = u"PLC1"_s)
    {
        auto request = m_Engine.getControllerRequest();
        Set(request.initName(), name);
        return request.send().getResult();
    }
    wire::Item::Client Item(const QString& item, const QString& controller = u"PLC1"_s)
    {
        auto request = Controller(controller).getItemRequest();
        Set(request.initName(), item);
        return request.send().getResult();
    }
    Variant Value(const QString& item, const QString& controller = u"PLC1"_s)
    {
        return Read(Wait(Item(item, controller).getValueRequest().send()).getResult());
    }
    QStringList ItemNames(const QString& controller = u"PLC1"_s, quint32 most = 0)
    {
        auto request = Controller(controller).getItemNamesRequest();
        request.setMost(most);
        return Read(Wait(request.send()).getResult()).Array().Of<QString>();
    }
    /// A command of the engine, and below a statement, whose answer nobody waits for yet.
    auto Start(const QString& command)
    {
        auto request = m_Engine.executeRequest();
        request.setCommand(WireBytes(command));
        return request.send();
    }
    Variant Execute(const QString& command) { return Read(Wait(Start(command)).getResult()); }
    auto Query(const QString& statement)
    {
        auto request = m_Engine.getHistoryRequest().send().getResult().executeRequest();
        request.setStatement(WireBytes(statement));
        return request.send();
    }
    /// Whether the server answers to a ping.
    bool IsAnswered()
    {
        return OutcomeOf([&] { Wait(m_Library.pingRequest().send()); }) == u"done";
    }

    Variant Read(wire::Value::Reader value) { return ReadValue(value, m_Objects); }
    void Set(wire::Value::Builder builder, const Variant& value) { WriteValue(value, builder, m_Objects); }

private:
    static kj::Own<kj::AsyncIoStream> Connect(const QString& socketPath)
    {
        const int socket = ConnectToServer(socketPath);
        if (socket < 0) throw DescribedError(u"nobody listens"_s);
        return TestLoop().lowLevelProvider->wrapSocketFd(socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                                     kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK);
    }

    kj::Own<kj::AsyncIoStream> m_Socket;
    capnp::TwoPartyClient m_Rpc{*m_Socket};
    wire::Library::Client m_Library = m_Rpc.bootstrap().castAs<wire::Library>();
    wire::Engine::Client m_Engine = m_Library.createEngineRequest().send().getResult();
    SeenObjects m_Objects;
};
