// What the console's library costs on top of the bare wire: synchronous get_Value and put_Value.
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/KjLoop.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/WireText.h"

#include <QCoreApplication>

#include <capnp/rpc-twoparty.h>
#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int Rounds = 5;
constexpr int CallsPerRound = 4000;
const QString ControllerName = QStringLiteral("PLC1");
const QString ItemName = QStringLiteral("D100");

/// 64 bytes there and back over a local socket: what two processes cannot do without.
class RawPingPong
{
public:
    RawPingPong()
    {
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, m_Ends) != 0) qFatal("no sockets");
        m_Child = fork();
        if (m_Child == 0) Echo();
        close(m_Ends[1]);
    }
    ~RawPingPong()
    {
        close(m_Ends[0]);
        waitpid(m_Child, nullptr, 0);
    }
    qint64 ProcessId() const { return m_Child; }
    void operator()()
    {
        char bytes[64] = {};
        if (write(m_Ends[0], bytes, sizeof bytes) != sizeof bytes || read(m_Ends[0], bytes, sizeof bytes) <= 0)
            qFatal("raw");
    }

private:
    [[noreturn]] void Echo()
    {
        close(m_Ends[0]);
        char bytes[64];
        while (read(m_Ends[1], bytes, sizeof bytes) > 0) {
            if (write(m_Ends[1], bytes, sizeof bytes) < 0) break;
        }
        _exit(0);
    }

    int m_Ends[2];
    pid_t m_Child;
};

/// The same item reached through the schema alone.
class BareItem
{
public:
    explicit BareItem(const QString& socketPath)
        : m_Stream(
              m_Loop->LowLevel().wrapSocketFd(ConnectToServer(socketPath), kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP))
        , m_Rpc(*m_Stream)
        , m_Item(Find())
    {
    }

    qint32 Get() { return m_Item.getValueRequest().send().wait(m_Loop->WaitScope()).getResult().getI4(); }
    void Put(qint32 value)
    {
        auto request = m_Item.putValueRequest();
        request.initValue().setI4(value);
        request.send().wait(m_Loop->WaitScope());
    }

private:
    wire::Item::Client Find()
    {
        auto engine = m_Rpc.bootstrap().castAs<wire::Library>().createEngineRequest().send().getResult();
        auto controller = engine.getControllerRequest();
        controller.initName().setBstr(WireBytes(ControllerName));
        auto item = controller.send().getResult().getItemRequest();
        item.initName().setBstr(WireBytes(ItemName));
        return item.send().wait(m_Loop->WaitScope()).getResult();
    }

    std::shared_ptr<KjLoop> m_Loop = KjLoop::OfThisThread();
    kj::Own<kj::AsyncIoStream> m_Stream;
    capnp::TwoPartyClient m_Rpc;
    wire::Item::Client m_Item;
};

bool Measure(const char* title, RawPingPong& raw, BareItem& bare, VelSQLItem& item)
{
    std::printf("%s\n", title);
    const auto costs = Figures::MeasureInTurn(Rounds, CallsPerRound,
                                              {[&] { raw(); }, [&] { bare.Get(); }, [&] { item.get_Value(); },
                                               [&] { bare.Put(7); }, [&] { item.put_Value(qint32{7}); }});
    const QStringList names = {QStringLiteral("raw AF_UNIX ping-pong, 64 bytes"), QStringLiteral("bare get_Value"),
                               QStringLiteral("velsqllib get_Value"), QStringLiteral("bare put_Value"),
                               QStringLiteral("velsqllib put_Value")};
    for (qsizetype i = 0; i < costs.size(); ++i) Figures::PrintCost(names[i], costs[i]);
    bool kept = Figures::PrintRatio(QStringLiteral("get_Value, median: velsqllib / bare"),
                                    costs[2].MedianUs / costs[1].MedianUs, 1.15);
    kept &=
        Figures::PrintRatio(QStringLiteral("get_Value, cpu: velsqllib / bare"), costs[2].CpuUs / costs[1].CpuUs, 1.15);
    kept &= Figures::PrintRatio(QStringLiteral("put_Value, median: velsqllib / bare"),
                                costs[4].MedianUs / costs[3].MedianUs, 1.15);
    kept &=
        Figures::PrintRatio(QStringLiteral("put_Value, cpu: velsqllib / bare"), costs[4].CpuUs / costs[3].CpuUs, 1.15);
    return kept;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    RawPingPong raw; // forks: before anything else is open
    RealServer server;
    server.Start();
    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.CreateEngine();
    const ItemRef item = engine->get_Controller(Variant(ControllerName))->get_Item(Variant(ItemName));
    BareItem bare(server.SocketPath());

    bool kept = Measure("Both processes free", raw, bare, *item);
    Figures::PinToOneCore(server.ProcessId(), true);
    Figures::PinToOneCore(raw.ProcessId(), true);
    kept &= Measure("Both processes on one core", raw, bare, *item);
    return kept ? 0 : 1;
}
