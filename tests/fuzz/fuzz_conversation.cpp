// All that a client says to a server, as it comes over the socket, message by message. The server in this process
// answers in whole messages, no more often than it was asked; afterwards it keeps nothing of the client, and serves
// others.
#include "core/automation/SafeArray.h"
#include "server/added/AddedItems.h"
#include "server/added/PlantText.h"
#include "server/commands/Commands.h"
#include "server/log/Log.h"
#include "server/plantfile/PlantFile.h"
#include "server/PlantScanner.h"
#include "server/rpc/ClientHost.h"
#include "server/rpc/ObjectDirectory.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/Messages.h"
#include "velsqllib/WireLimits.h"

#include <kj/io.h>
#include <QFile>

#include <capnp/rpc.capnp.h>
#include <capnp/serialize.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

/// Where clients connect, in all runs.
class Listener
{
public:
    Listener()
        : m_Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        m_Address.sun_family = AF_UNIX; // and no name: the system finds one
        Require(bind(m_Socket, Any(), sizeof(sa_family_t)) == 0 && listen(m_Socket, 8) == 0);
        Require(getsockname(m_Socket, Any(), &m_Size) == 0);
    }

    int Descriptor() const { return m_Socket; }
    kj::AutoCloseFd Connect()
    {
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        Require(connect(client, Any(), m_Size) == 0);
        return kj::AutoCloseFd(client);
    }

private:
    sockaddr* Any() { return reinterpret_cast<sockaddr*>(&m_Address); }

    const int m_Socket;
    sockaddr_un m_Address{};
    socklen_t m_Size = sizeof(m_Address);
};

/// As much of a server as clients can reach, without databases and devices.
class Server : private PlantHost
{
public:
    Server(KjLoop& loop, int listener)
        : m_Loop(loop)
        , m_Watch(m_Timer)
        , m_Scanner(loop.Timer())
        , m_Records(NoHistory(), m_Timer)
        , m_Commands({m_Plant, m_Records, [this] { return m_Objects.Held(); }, m_Watch, m_Timer,
                      [this] { return m_Added.LastDefinition(); },
                      [this] { return PlantTextWith(PlantToml(), m_Added.Items()); }, [] {}})
        , m_Objects(m_Plant, m_Records, m_Commands, m_Added, m_Scanner, m_Watch)
        , m_Clients(loop, [this](std::function<int()> underWay) { return m_Objects.Library(std::move(underWay)); })
    {
        ReadPlantFile(QStringLiteral(VELSQL_FUZZ_PLANT), m_Plant);
        m_Plant.Begin();
        m_Clients.Listen(listener);
    }

    bool HasClients() const { return m_Clients.ClientCount() > 0; }
    /// Time passes until something is due, if so: commands may ask for hours, and go on when their client has gone.
    bool Wait()
    {
        KJ_IF_MAYBE (due, m_Timer.nextEvent()) {
            m_Timer.advanceTo(*due);
            return true;
        }
        return false;
    }
    /// Whether clients have left nothing behind.
    bool IsFree() const
    {
        const HeldCounts held = m_Objects.Held();
        return held.Controllers + held.Items + held.Results + held.Events == 0 && held.Subscriptions == 0;
    }
    /// Asks what every client asks first, past the disturbances that a command can make.
    bool IsAlive()
    {
        m_Watch.RestoreAll();
        auto engine = m_Objects.Library([] { return 0; }).createEngineRequest().send().getResult();
        const auto names = engine.getControllerNamesRequest().send().wait(m_Loop.WaitScope());
        return ReadValue(names.getResult(), m_Objects).Array().Count() == m_Plant.Controllers().size();
    }

private:
    static HistorySettings NoHistory()
    {
        HistorySettings settings;
        settings.Enabled = false;
        settings.Spool.Folder = QStringLiteral("/nonexistent");
        return settings;
    }
    static QByteArray PlantToml()
    {
        QFile file(QStringLiteral(VELSQL_FUZZ_PLANT));
        Require(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    Moment Now() override { return {std::chrono::system_clock::now(), 1.0}; }
    void After(qint32, std::function<void()> action) override { m_Later.push_back(std::move(action)); }
    void Record(const PlantItem&, const ItemReading&) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString&) override {}

    KjLoop& m_Loop;
    kj::TimerImpl m_Timer{kj::origin<kj::TimePoint>()};
    std::vector<std::function<void()>> m_Later;
    Plant m_Plant{*this};
    CallWatch m_Watch;
    AddedItems m_Added{m_Plant};
    PlantScanner m_Scanner;
    History m_Records;
    Commands m_Commands;
    ObjectDirectory m_Objects;
    ClientHost m_Clients;
};

/// One client, who reads what he is answered.
class Client
{
public:
    Client(KjLoop& loop, kj::AutoCloseFd socket)
        : m_Loop(loop)
        , m_Socket(kj::mv(socket))
    {
    }

    void Say(kj::ArrayPtr<const kj::byte> bytes)
    {
        while (bytes.size() > 0) {
            const ssize_t sent = send(m_Socket, bytes.begin(), bytes.size(), MSG_NOSIGNAL);
            if (sent > 0) bytes = bytes.slice(static_cast<size_t>(sent), bytes.size());
            else if (errno != EAGAIN) break; // the server has ended the conversation
            Hear();
        }
    }
    void Hear()
    {
        m_Loop.Poll();
        char some[16 * 1024];
        for (ssize_t count = 0; (count = recv(m_Socket, some, sizeof(some), 0)) > 0;) m_Heard.append(some, count);
    }
    void SayGoodbye() { shutdown(m_Socket, SHUT_WR); }
    const QByteArray& Heard() const { return m_Heard; }

private:
    KjLoop& m_Loop;
    const kj::AutoCloseFd m_Socket;
    QByteArray m_Heard;
};

/// That these are whole messages, and at most so many answers.
void CheckAnswers(const QByteArray& heard, size_t asked)
{
    kj::ArrayInputStream stream(
        {reinterpret_cast<const kj::byte*>(heard.constData()), static_cast<size_t>(heard.size())});
    size_t answered = 0;
    while (stream.tryGetReadBuffer().size() > 0) {
        capnp::InputStreamMessageReader message(stream, WireReaderOptions());
        if (message.getRoot<capnp::rpc::Message>().isReturn()) ++answered;
    }
    Require(answered <= asked);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const auto loop = KjLoop::OfThisThread();
    static Listener listener;
    SetLogLevel(LogLevel::Error);
    Server server(*loop, listener.Descriptor());
    Client client(*loop, listener.Connect());
    const auto messages = MessagesIn({bytes, size});
    for (const auto message : messages) {
        client.Say(message);
        client.Hear();
    }
    client.SayGoodbye();
    do client.Hear();
    while (server.Wait() || server.HasClients() || !server.IsFree()); // for ever, if it keeps anything
    client.Hear();
    CheckAnswers(client.Heard(), messages.size());
    Require(server.IsAlive());
    return 0;
}
