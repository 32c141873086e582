#include "server/rpc/ClientHost.h"

#include "server/log/Log.h"
#include "server/rpc/ClientNetwork.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/WireText.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// For this long the same message is not logged again.
constexpr auto Silence = 60 * kj::SECONDS;
/// The total size of the calls that a client may have under way; further calls are not read.
constexpr std::size_t MostCallWords = 8 * 1024 * 1024;

} // namespace

/// One connection, with everything that serves it.
struct ClientHost::Client
{
    Client(ClientHost& host, kj::AutoCloseFd socket)
        : Host(host)
        , Dismissal(kj::newPromiseAndFulfiller<void>())
        , Network(host.m_Loop, kj::mv(socket),
                  std::make_shared<ClientAccount>(host.m_Ledger, [this] { Dismissal.fulfiller->fulfill(); }))
        , Rpc(capnp::makeRpcServer(Network, host.m_MakeLibrary([this] { return Network.CallsUnderWay(); })))
    {
        Rpc.setFlowLimit(MostCallWords);
        Host.Count(1);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() noexcept(false)
    {
        if (!Network.Refusal().isEmpty()) Host.Say(QStringLiteral("A client was dropped: %1.").arg(Network.Refusal()));
        Host.m_Ledger->TrimSoon(); // including its events
        Host.Count(-1);
    }

    /// Fulfilled when the client has gone or must go.
    kj::Promise<void> End()
    {
        auto dismissed = kj::mv(Dismissal.promise).then([this] {
            Host.Say(
                QStringLiteral("A client was dropped: all clients together keep more than %1 MB, and it keeps most.")
                    .arg(ClientLedger::MostOfAll / 1024 / 1024));
        });
        return Network.OnDisconnect().exclusiveJoin(kj::mv(dismissed));
    }

    ClientHost& Host;
    kj::PromiseFulfillerPair<void> Dismissal;
    ClientNetwork Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> Rpc;
};

ClientHost::ClientHost(KjLoop& loop, MakeLibrary makeLibrary)
    : m_Loop(loop)
    , m_Ledger(std::make_shared<ClientLedger>(loop.Timer()))
    , m_MakeLibrary(std::move(makeLibrary))
    , m_Tasks(*this)
{
}

void ClientHost::Listen(int listener)
{
    m_Accepting = kj::READY_NOW;
    m_Incoming.reset();
    m_Listener = listener;
    if (m_Listener < 0) return;
    m_Incoming.emplace(m_Loop.Port(), listener, kj::UnixEventPort::FdObserver::OBSERVE_READ);
    m_Accepting = AcceptAll().eagerlyEvaluate([this](kj::Exception&& exception) { taskFailed(kj::mv(exception)); });
}

kj::Promise<void> ClientHost::AcceptAll()
{
    return m_Incoming->whenBecomesReadable().then([this] {
        Accept();
        return AcceptAll();
    });
}

void ClientHost::Accept()
{
    while (m_Listener >= 0) {
        const int socket = accept4(m_Listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            Serve(socket);
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED) continue;
        if (errno == EAGAIN) return;
        // Out of descriptors or memory: clients that wait are accepted when another one has gone.
        Log(LogLevel::Error,
            QStringLiteral("A client cannot be accepted: %1").arg(QString::fromLocal8Bit(strerror(errno))));
        m_Tasks.add(m_Loop.Timer().afterDelay(500 * kj::MILLISECONDS).then([this] { Accept(); }));
        return;
    }
}

void ClientHost::Serve(int socket)
{
    const QString objection = ObjectionTo(socket);
    if (!objection.isEmpty()) {
        Say(objection);
        close(socket);
        return;
    }
    m_Tasks.add(kj::evalNow([&] { // what fails for one client is no reason to accept no other
        auto client = kj::heap<Client>(*this, kj::AutoCloseFd(socket));
        auto end = client->End();
        return end.attach(kj::mv(client));
    }));
}

QString ClientHost::ObjectionTo(int socket) const
{
    if (!IsSameUser(socket)) return QStringLiteral("Another user's process was turned away.");
    if (m_Clients < MostClients) return {};
    return QStringLiteral("There are %1 clients: further ones are turned away.").arg(MostClients);
}

void ClientHost::Say(const QString& text)
{
    const kj::TimePoint now = m_Loop.Timer().now();
    if (text == m_SaidLast && now - m_SaidAt < Silence) return; // not for each of thousands
    Log(LogLevel::Warning, text);
    m_SaidLast = text;
    m_SaidAt = now;
}

void ClientHost::Count(int change)
{
    m_Clients += change;
    if (m_CountChanged) m_CountChanged();
}

void ClientHost::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Warning, QStringLiteral("A client was dropped: %1").arg(DescriptionOf(exception)));
}
