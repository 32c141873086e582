#include "server/rpc/ClientHost.h"

#include "server/log/Log.h"
#include "server/rpc/CountingStream.h"
#include "server/rpc/PacedStream.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/WireValue.h"

#include <capnp/rpc-twoparty.h>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// While more than this waits to be sent to a client, its calls are not read.
constexpr std::size_t MostBytesWaiting = 8 * 1024 * 1024;
/// A client may have calls of this size under way.
constexpr std::size_t MostCallWords = 128 * 1024 * 1024;

QString ToText(const kj::Exception& exception)
{
    return QString::fromUtf8(exception.getDescription().cStr());
}

} // namespace

/// One connection with everything that serves it.
struct ClientHost::Client
{
    Client(ClientHost& host, kj::Own<kj::AsyncIoStream> socket)
        : Host(host)
        , Stream(kj::mv(socket), host.m_Io.provider->getTimer())
        , Messages(Stream)
        , Network(Messages, capnp::rpc::twoparty::Side::SERVER, WireReaderOptions())
        , Rpc(capnp::makeRpcServer(Network, host.m_MakeLibrary([this] { return Messages.CallsUnderWay(); })))
    {
        Stream.SetCongested([this] { return Network.getCurrentQueueSize() > MostBytesWaiting; });
        Rpc.setFlowLimit(MostCallWords);
        Host.Count(1);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() noexcept(false) { Host.Count(-1); }

    ClientHost& Host;
    PacedStream Stream;
    CountingStream Messages;
    capnp::TwoPartyVatNetwork Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> Rpc;
};

ClientHost::ClientHost(kj::AsyncIoContext& io, int listener, MakeLibrary makeLibrary)
    : m_Io(io)
    , m_Listener(listener)
    , m_Incoming(io.unixEventPort, listener, kj::UnixEventPort::FdObserver::OBSERVE_READ)
    , m_MakeLibrary(std::move(makeLibrary))
    , m_Tasks(*this)
{
    m_Tasks.add(AcceptAll());
}

kj::Promise<void> ClientHost::AcceptAll()
{
    return m_Incoming.whenBecomesReadable().then([this] {
        Accept();
        return AcceptAll();
    });
}

void ClientHost::Accept()
{
    for (;;) {
        const int socket = accept4(m_Listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            Serve(socket);
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED) continue;
        if (errno == EAGAIN) return;
        // Out of descriptors or memory: those who wait are taken when somebody has gone.
        Log(LogLevel::Error,
            QStringLiteral("A client cannot be taken: %1").arg(QString::fromLocal8Bit(strerror(errno))));
        m_Tasks.add(m_Io.provider->getTimer().afterDelay(500 * kj::MILLISECONDS).then([this] { Accept(); }));
        return;
    }
}

void ClientHost::Serve(int socket)
{
    const QString objection = ObjectionTo(socket);
    if (!objection.isEmpty()) {
        if (objection != m_SaidLast) Log(LogLevel::Warning, objection); // not for each of thousands
        m_SaidLast = objection;
        close(socket);
        return;
    }
    m_SaidLast.clear();
    auto stream = m_Io.lowLevelProvider->wrapSocketFd(socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                                  kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK |
                                                                  kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC);
    auto client = kj::heap<Client>(*this, kj::mv(stream));
    auto gone = client->Network.onDisconnect();
    m_Tasks.add(gone.attach(kj::mv(client)));
}

QString ClientHost::ObjectionTo(int socket) const
{
    if (!IsSameUser(socket)) return QStringLiteral("Another user's process was turned away.");
    if (m_Clients < MostClients) return {};
    return QStringLiteral("There are %1 clients: further ones are turned away.").arg(MostClients);
}

void ClientHost::Count(int change)
{
    m_Clients += change;
    if (m_CountChanged) m_CountChanged();
}

void ClientHost::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Warning, QStringLiteral("A client was dropped: %1").arg(ToText(exception)));
}
