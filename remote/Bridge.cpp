#include "remote/Bridge.h"

#include "core/automation/Errors.h"
#include "core/automation/FindProgram.h"
#include "remote/Greeting.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/ServerStarter.h"

#include <QCoreApplication>
#include <QFile>

#include <csignal>
#include <cstdlib>
#include <sys/socket.h>

namespace {

/// Longer than the launcher's patience, so that it is the launcher that says what has happened.
constexpr int PatienceMs = 10'000;
constexpr int LookMs = 100;

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A text that no other process has had or will have; empty when nothing is known of it.
QString IdentityOfPeer(int socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) return {};
    constexpr qsizetype startTime = 19; // of the fields after the name, which may contain anything
    const QByteArray status = ContentOf(QStringLiteral("/proc/%1/stat").arg(peer.pid));
    const QByteArray since = status.mid(status.lastIndexOf(')') + 2).split(' ').value(startTime);
    const QByteArray boot = ContentOf(QStringLiteral("/proc/sys/kernel/random/boot_id")).trimmed();
    if (since.isEmpty() || boot.isEmpty()) return {};
    return QStringLiteral("%1 since %2 of %3")
        .arg(QString::number(peer.pid), QString::fromLatin1(since), QString::fromLatin1(boot));
}

} // namespace

Bridge::Bridge(Descriptor input, Descriptor output, const QString& socketPath, const QString& serverProgram)
    : m_SocketPath(socketPath)
    , m_ServerProgram(serverProgram)
    , m_Pipe(std::move(input), std::move(output), PatienceMs)
{
    connect(&m_Pipe, &FramePipe::Lost, this,
            [](const QString& why) { QCoreApplication::exit(why.isEmpty() ? EXIT_SUCCESS : EXIT_FAILURE); });
    connect(&m_Look, &QTimer::timeout, this, &Bridge::Look);
}

Bridge::~Bridge() = default;

void Bridge::Begin()
{
    m_Pipe.Begin([this](const Frame& frame) { Handle(frame); });
}

void Bridge::Handle(const Frame& frame)
{
    switch (frame.Type) {
    case FrameType::Serve:
        m_MayStart = frame.Payload == QByteArrayLiteral("1");
        m_Look.start(LookMs);
        return Look();
    case FrameType::Open: return Open(frame.Stream);
    default: return m_Streams.Handle(frame);
    }
}

void Bridge::Open(quint32 number)
{
    int socket = -1;
    try {
        if (m_Presence.IsOpen() && !m_Streams.IsFull()) socket = ConnectToServer(m_SocketPath);
    } catch (const DescribedError&) { // it is told when it is looked for
    }
    if (socket >= 0) m_Streams.Add(number, socket);
    else m_Pipe.Send({FrameType::Close, number});
}

void Bridge::Look()
{
    try {
        LookOrStart();
    } catch (const DescribedError& error) {
        m_Starter.reset();
        m_MayStart = false;
        if (m_Told != error.Description()) Tell(ServerNews::Down, error.Description());
        m_Told = error.Description();
    }
}

void Bridge::LookOrStart()
{
    const int socket = ConnectToServer(m_SocketPath);
    if (socket >= 0) return TakePresence(socket);
    if (m_Starter) return m_Starter->WaitAWhile();
    if (!m_MayStart) throw DescribedError(QStringLiteral("No VelSQL server is running there."));
    m_Starter = std::make_unique<ServerStarter>(m_ServerProgram, m_SocketPath);
}

void Bridge::TakePresence(int socket)
{
    m_Look.stop();
    m_MayStart = false; // as everywhere, a server that ends is not started again
    m_Told.reset();
    m_Presence.Reset(socket);
    m_PresenceEnd = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
    connect(m_PresenceEnd.get(), &QSocketNotifier::activated, this, &Bridge::NoteServerEnd);
    Tell(m_Starter ? ServerNews::Started : ServerNews::Up, IdentityOfPeer(socket));
    m_Starter.reset();
}

/// A server says nothing unasked: its socket is readable at its end only.
void Bridge::NoteServerEnd()
{
    m_PresenceEnd->setEnabled(false);
    m_PresenceEnd.release()->deleteLater();
    m_Presence.Reset();
    m_Look.start(LookMs);
    Look();
}

void Bridge::Tell(ServerNews news, const QString& text)
{
    constexpr qsizetype enough = 4000;
    m_Pipe.Send({FrameType::Server, 0, char(news) + text.left(enough).toUtf8()});
}

int RunBridge(const QString& socketPath)
{
    signal(SIGPIPE, SIG_IGN);
    const QByteArray greeting = Greeting::Own().Encode();
    if (write(STDOUT_FILENO, greeting.constData(), static_cast<std::size_t>(greeting.size())) != greeting.size())
        return EXIT_FAILURE;
    Bridge bridge(Descriptor(STDIN_FILENO), Descriptor(STDOUT_FILENO), socketPath,
                  FindProgram(QStringLiteral("velsqlserver")));
    bridge.Begin();
    return QCoreApplication::exec();
}
