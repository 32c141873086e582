#include "tests/server/TestClient.h"

#include "velsqllib/ServerSocket.h"

#include <kj/timer.h>
#include <QDeadlineTimer>

namespace {

kj::Own<kj::AsyncIoStream> Connect(const QString& socketPath)
{
    const int socket = ConnectToServer(socketPath);
    if (socket < 0) throw DescribedError(QStringLiteral("nobody listens"));
    return TestLoop().lowLevelProvider->wrapSocketFd(socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                                 kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK);
}

} // namespace

kj::AsyncIoContext& TestLoop()
{
    static auto* loop = new kj::AsyncIoContext(kj::setupAsyncIo()); // lives as long as the program
    return *loop;
}

bool WaitUntil(const std::function<bool()>& done, int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!done() && !deadline.hasExpired()) Pause(5);
    return done();
}

void Pause(int milliseconds)
{
    Wait(TestLoop().provider->getTimer().afterDelay(milliseconds * kj::MILLISECONDS));
}

TestClient::TestClient(const QString& socketPath)
    : m_Socket(Connect(socketPath))
    , m_Rpc(*m_Socket)
    , m_Library(m_Rpc.bootstrap().castAs<wire::Library>())
    , m_Engine(m_Library.createEngineRequest().send().getResult())
{
}

wire::Controller::Client TestClient::Controller(const QString& name)
{
    auto request = m_Engine.getControllerRequest();
    Set(request.initName(), name);
    return Wait(request.send()).getResult();
}

wire::Item::Client TestClient::Item(const QString& item, const QString& controller)
{
    auto request = Controller(controller).getItemRequest();
    Set(request.initName(), item);
    return Wait(request.send()).getResult();
}

Variant TestClient::Value(const QString& item, const QString& controller)
{
    return Read(Wait(Item(item, controller).getValueRequest().send()).getResult());
}

QStringList TestClient::ItemNames(const QString& controller)
{
    return Read(Wait(Controller(controller).getItemNamesRequest().send()).getResult()).Array().Of<QString>();
}

capnp::RemotePromise<wire::Engine::ExecuteResults> TestClient::Start(const QString& command)
{
    auto request = m_Engine.executeRequest();
    request.setCommand(WireBytes(command));
    return request.send();
}

capnp::RemotePromise<wire::History::ExecuteResults> TestClient::Query(const QString& statement)
{
    auto request = m_Engine.getHistoryRequest().send().getResult().executeRequest();
    request.setStatement(WireBytes(statement));
    return request.send();
}

bool TestClient::IsAnswered()
{
    return OutcomeOf([&] { CallsUnderWay(); }) == u"done";
}
