#include "tests/server/TestClient.h"

#include "velsqllib/ServerSocket.h"

#include <kj/timer.h>
#include <QDeadlineTimer>

namespace {

capnp::RpcSystem<capnp::rpc::twoparty::VatId> MakeClient(capnp::TwoPartyVatNetwork& network)
{
    return capnp::makeRpcClient(network);
}

wire::Library::Client BootstrapOf(capnp::RpcSystem<capnp::rpc::twoparty::VatId>& rpc)
{
    capnp::MallocMessageBuilder message;
    auto id = message.initRoot<capnp::rpc::twoparty::VatId>();
    id.setSide(capnp::rpc::twoparty::Side::SERVER);
    return rpc.bootstrap(id).castAs<wire::Library>();
}

} // namespace

kj::AsyncIoContext& TestLoop()
{
    static auto* loop = new kj::AsyncIoContext(kj::setupAsyncIo()); // lives as long as the program
    return *loop;
}

kj::Own<kj::AsyncIoStream> Connect(const QString& socketPath)
{
    const int socket = ConnectToServer(socketPath);
    if (socket < 0) throw std::runtime_error("nobody listens");
    return TestLoop().lowLevelProvider->wrapSocketFd(socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                                 kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK);
}

bool WaitUntil(const std::function<bool()>& done, int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!done() && !deadline.hasExpired())
        TestLoop().provider->getTimer().afterDelay(5 * kj::MILLISECONDS).wait(TestLoop().waitScope);
    return done();
}

TestClient::TestClient(const QString& socketPath)
    : TestClient(Connect(socketPath))
{
}

TestClient::TestClient(kj::Own<kj::AsyncIoStream> stream)
    : Library(nullptr)
    , Engine(nullptr)
    , m_Stream(kj::mv(stream))
    , m_Network(*m_Stream, capnp::rpc::twoparty::Side::CLIENT, WireReaderOptions())
    , m_Rpc(MakeClient(m_Network))
{
    Library = BootstrapOf(m_Rpc);
    Engine = Library.createEngineRequest().send().getResult();
}

wire::Controller::Client TestClient::Controller(const QString& name)
{
    auto request = Engine.getControllerRequest();
    Set(request.initName(), name);
    return Wait(request.send()).getResult();
}

wire::Item::Client TestClient::Item(const QString& controller, const QString& item)
{
    auto request = Controller(controller).getItemRequest();
    Set(request.initName(), item);
    return Wait(request.send()).getResult();
}

Variant TestClient::Value(const QString& controller, const QString& item)
{
    return ReadValue(Wait(Item(controller, item).getValueRequest().send()).getResult(), Objects);
}

void TestClient::PutValue(const QString& controller, const QString& item, const Variant& value)
{
    auto request = Item(controller, item).putValueRequest();
    Set(request.initValue(), value);
    Wait(request.send());
}

Variant TestClient::Execute(const QString& command)
{
    auto request = Engine.executeRequest();
    request.setCommand(WireBytes(command));
    return ReadValue(Wait(request.send()).getResult(), Objects);
}

Variant TestClient::Execute(const QString& controller, const QString& command, const Variant& parameter)
{
    auto request = Controller(controller).executeRequest();
    request.setCommand(WireBytes(command));
    Set(request.initParameter(), parameter);
    return ReadValue(Wait(request.send()).getResult(), Objects);
}

wire::Subscription::Client TestClient::Subscribe(const QString& controller, QStringList& seen)
{
    auto request = Controller(controller).subscribeRequest();
    request.setEvents(kj::heap<Subscriber>(seen));
    return Wait(request.send()).getSubscription();
}

capnp::RemotePromise<wire::History::ExecuteResults> TestClient::Query(const QString& statement)
{
    auto request = Engine.getHistoryRequest().send().getResult().executeRequest();
    request.setStatement(WireBytes(statement));
    return request.send();
}

kj::Promise<void> Subscriber::onChangeState(OnChangeStateContext context)
{
    m_Seen.append(QStringLiteral("state %1").arg(context.getParams().getNewVal()));
    return kj::READY_NOW;
}

kj::Promise<void> Subscriber::onChangeItem(OnChangeItemContext context)
{
    const auto item = context.getParams().getItem();
    m_Seen.append(FromWireText(item.getControllerName()) + u'\\' + FromWireText(item.getItemName()));
    return kj::READY_NOW;
}

void NamedObjects::Write(const ObjectRef&, wire::Object::Builder builder)
{
    builder.setNone();
}

ObjectRef NamedObjects::Read(wire::Object::Reader reader)
{
    auto object = std::make_shared<NamedObject>();
    object->Way = FromWireText(reader.getControllerName()) + u'\\' + FromWireText(reader.getItemName());
    return object;
}

QString FailureOf(const std::function<void()>& call)
{
    try {
        call();
        return QStringLiteral("succeeded");
    } catch (const kj::Exception& exception) {
        QString text = QString::fromUtf8(exception.getDescription().cStr());
        const QString prefix = QStringLiteral("remote exception: ");
        return text.startsWith(prefix) ? text.mid(prefix.size()) : text;
    }
}
