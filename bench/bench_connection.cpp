// What the console's library costs on top of the bare wire: synchronous get_Value and put_Value.
#include "bench/Figures.h"
#include "bench/RawPingPong.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/transport/KjLoop.h"
#include "velsqllib/WireText.h"

#include <QCoreApplication>

#include <capnp/rpc-twoparty.h>
#include <cstdio>

namespace {

constexpr int Rounds = 5;
constexpr int CallsPerRound = 4000;
const QString ControllerName = QStringLiteral("PLC1");
const QString ItemName = QStringLiteral("D100");

/// The same item reached through the schema alone.
class BareItem
{
public:
    explicit BareItem(const QString& socketPath)
        : m_Stream(m_Loop->Wrap(kj::AutoCloseFd(ConnectToServer(socketPath))))
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
