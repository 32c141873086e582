#include "tests/simulation/SimulatedPeer.h"

#include "tests/simulation/SocketPair.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <map>

namespace {

std::map<quint16, SimulatedPeer*> s_Peers;

} // namespace

SimulatedPeer::SimulatedPeer(quint16 port, Random& random, Trace& trace)
    : m_Port(port)
    , m_Random(random)
    , m_Trace(trace)
{
    s_Peers[port] = this;
}

SimulatedPeer::~SimulatedPeer() = default;

void SimulatedPeer::Close()
{
    s_Peers.erase(m_Port);
    SetReachable(false);
    m_Threads.clear();
}

std::optional<int> SimulatedPeer::ConnectTo(quint16 port)
{
    const auto peer = s_Peers.find(port);
    if (peer == s_Peers.end() || !peer->second->m_IsReachable) return std::nullopt;
    return peer->second->Take();
}

int SimulatedPeer::Take()
{
    auto ends = SocketPair();
    Note(QStringLiteral("a connection"));
    const int socket = ends[0].release();
    m_Sockets.insert(socket);
    m_Threads.emplace_back([this, socket] {
        Serve(socket);
        Note(QStringLiteral("a connection has ended"));
        m_Sockets.erase(socket);
        close(socket);
    });
    return ends[1].release();
}

void SimulatedPeer::Note(const QString& what)
{
    m_Trace.Note(QStringLiteral("port %1: %2").arg(m_Port).arg(what));
}

void SimulatedPeer::SetMood(Mood mood)
{
    Note(QStringLiteral("mood %1").arg(static_cast<int>(mood)));
    m_Mood = mood;
}

void SimulatedPeer::SetReachable(bool isReachable)
{
    Note(isReachable ? QStringLiteral("can be reached") : QStringLiteral("cannot be reached"));
    m_IsReachable = isReachable;
    if (isReachable) return;
    for (const int socket : m_Sockets) shutdown(socket, SHUT_RDWR);
}

bool SimulatedPeer::Receive(int socket, QByteArray& bytes, qsizetype count)
{
    bytes.clear();
    while (bytes.size() < count) {
        pollfd waiting{socket, POLLIN, 0};
        poll(&waiting, 1, -1);
        char some[256];
        const auto most = std::min(sizeof(some), static_cast<std::size_t>(count - bytes.size()));
        const auto received = recv(socket, some, most, 0);
        if (received <= 0) return false;
        bytes.append(some, received);
    }
    return true;
}

/// Who reads nothing for so long loses the connection.
void SimulatedPeer::Send(int socket, const QByteArray& bytes)
{
    if (send(socket, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL) != bytes.size())
        shutdown(socket, SHUT_RDWR);
}

Mood SimulatedPeer::Think(int promptMs, int lateMs)
{
    std::this_thread::sleep_for(
        std::chrono::milliseconds(m_Random.Between(0, m_Mood == Mood::Late ? lateMs : promptMs)));
    return m_Mood == Mood::Failing && m_Random.OneIn(3) ? Mood::Prompt : m_Mood;
}

// Defined by the program, it goes before the system's own.
extern "C" [[gnu::visibility("default")]] int connect(int socket, const sockaddr* address, socklen_t size)
{
    if (address->sa_family != AF_INET || s_Peers.empty())
        return static_cast<int>(syscall(SYS_connect, socket, address, size));
    const auto other = SimulatedPeer::ConnectTo(ntohs(reinterpret_cast<const sockaddr_in*>(address)->sin_port));
    if (!other) {
        errno = ECONNREFUSED;
        return -1;
    }
    dup3(*other, socket, O_CLOEXEC);
    close(*other);
    return 0;
}
