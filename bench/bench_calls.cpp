// What calls and events cost as they are waited for and sent, against KJ's own loop and streams: the same client and
// the same server, once with each, and a bare ping-pong beside them.
#include "bench/Figures.h"
#include "bench/RawPingPong.h"
#include "core/automation/ServerObjects.h"
#include "server/ServerProcess.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/transport/KjLoop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <array>
#include <cstdio>
#include <ctime>

namespace {

using Kind = KjLoop::Kind;
constexpr std::array Kinds{Kind::Plain, Kind::Quick};
constexpr int Rounds = 8;
constexpr int CallsPerRound = 2000;

double CpuUs(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// The bundled server, on a loop of such a kind.
class Server
{
public:
    Server(Kind kind, const QString& socketPath)
        : m_SocketPath(socketPath)
        , m_Process([&] { Run(kind, socketPath); })
    {
        while (!IsListening()) QThread::msleep(10);
    }
    const QString& SocketPath() const { return m_SocketPath; }
    pid_t Id() const { return m_Process.Id(); }
    double CpuUs() const
    {
        clockid_t clock{};
        clock_getcpuclockid(Id(), &clock);
        return ::CpuUs(clock);
    }

private:
    static void Run(Kind kind, const QString& socketPath)
    {
        int argc = 1;
        char name[] = "server";
        std::array<char*, 2> argv{name, nullptr};
        const QCoreApplication application(argc, argv.data());
        for (const int number : {SIGTERM, SIGINT, SIGUSR2}) kj::UnixEventPort::captureSignal(number);
        signal(SIGPIPE, SIG_IGN);
        const auto loop = KjLoop::OfThisThread(kind);
        loop->WaitScope().setBusyPollInterval(64);
        ServerProcess(*loop, {.SocketPath = socketPath, .PlantPath = {}, .StopWhenIdle = {}}).Run();
    }
    bool IsListening() const
    {
        const int connection = ConnectToServer(m_SocketPath);
        if (connection >= 0) close(connection);
        return connection >= 0;
    }

    const QString m_SocketPath;
    const Child m_Process;
};

/// What is measured: with a controller, and an item of it.
using Action = std::function<void(VelSQLLib&, VelSQLController&, VelSQLItem&)>;

/// A client on a thread of its own, because a thread has one loop; adds what each of `count` actions costs.
void Measure(Kind kind, const Server& server, int count, const Action& action, Figures::Cost& cost)
{
    const std::unique_ptr<QThread> client(QThread::create([&] {
        const auto loop = KjLoop::OfThisThread(kind);
        RemoteLibrary library(server.SocketPath(), QString());
        const auto controller = library.AttachEngine()->get_Controller(Variant(QStringLiteral("PLC1")));
        const auto item = controller->get_Item(Variant(QStringLiteral("D100")));
        for (int i = 0; i < count / 10; ++i) action(library, *controller, *item);
        const double cpu = CpuUs(CLOCK_THREAD_CPUTIME_ID) + server.CpuUs();
        const auto costs = Figures::MeasureInTurn(1, count, {[&] { action(library, *controller, *item); }});
        cost.MedianUs += costs[0].MedianUs / Rounds;
        cost.CpuUs += (CpuUs(CLOCK_THREAD_CPUTIME_ID) + server.CpuUs() - cpu) / count / Rounds;
    }));
    client->start();
    client->wait();
}

using Servers = std::array<const Server*, 2>;

/// The costs with each kind of loop, of both processes together; rounds take turns.
std::array<Figures::Cost, 2> Compare(const QString& title, const Servers& servers, int count, const Action& action)
{
    std::array<Figures::Cost, 2> costs;
    for (int round = 0; round < Rounds; ++round)
        for (std::size_t k = 0; k < Kinds.size(); ++k) Measure(Kinds[k], *servers[k], count, action, costs[k]);
    Figures::PrintCost(title + QStringLiteral(", plain"), costs[0]);
    Figures::PrintCost(title, costs[1]);
    return costs;
}

bool CompareTime(const QString& title, const Servers& servers, double limit)
{
    const auto costs = Compare(title, servers, CallsPerRound, [](auto&, auto&, VelSQLItem& item) { item.get_Value(); });
    return Figures::PrintRatio(title + QStringLiteral(": time / plain"), costs[1].MedianUs / costs[0].MedianUs, limit);
}

bool CompareCpu(const QString& title, const Servers& servers, int count, const Action& action)
{
    const auto costs = Compare(title, servers, count, action);
    return Figures::PrintRatio(title + QStringLiteral(": cpu / plain"), costs[1].CpuUs / costs[0].CpuUs, 0.6);
}

class Subscriber : public ControllerEvents
{
public:
    explicit Subscriber(int expected)
        : m_Left(expected)
    {
    }
    void OnChangeState(qint32) override { Count(); }
    void OnChangeItem(const ItemRef&) override { Count(); }
    void Wait() { m_Waiting.exec(); }

private:
    void Count()
    {
        if (--m_Left == 0) m_Waiting.quit();
    }

    int m_Left;
    QEventLoop m_Waiting;
};

void TakeEvents(VelSQLLib&, VelSQLController& controller, VelSQLItem&)
{
    Subscriber subscriber(40'000);
    const auto subscription = controller.Subscribe(subscriber);
    controller.Execute(QStringLiteral("fire state 3 20000"), Variant());
    controller.Execute(QStringLiteral("fire item D100 20000"), Variant());
    subscriber.Wait();
}

/// As a batch does for each line: both calls together, where that is known.
void WriteLine(VelSQLLib& library, VelSQLController& controller, VelSQLItem&)
{
    const auto write = [&] { controller.get_Item(Variant(QStringLiteral("D100")))->put_Value(Variant(qint32{7})); };
    library.TakeSteps({{write, write}}, 0);
}

void PrintPingPong(RawPingPong& raw)
{
    Figures::PrintCost(QStringLiteral("raw AF_UNIX ping-pong, 64 bytes"),
                       Figures::MeasureInTurn(Rounds, CallsPerRound, {[&] { raw(); }})[0]);
}

/// Clients that were in a row of calls a moment ago, and now rest.
bool CompareRest(const Server& server)
{
    double cpu = 0;
    const auto rest = [&](auto&, auto&, VelSQLItem& item) {
        for (int i = 0; i < CallsPerRound; ++i) item.get_Value();
        const double before = CpuUs(CLOCK_THREAD_CPUTIME_ID) + server.CpuUs();
        QThread::sleep(2);
        cpu = CpuUs(CLOCK_THREAD_CPUTIME_ID) + server.CpuUs() - before;
    };
    Figures::Cost cost;
    Measure(Kind::Quick, server, 1, rest, cost);
    return Figures::PrintRatio(QStringLiteral("processor time of two seconds at rest / 1 %"), cpu / 2e6 / 0.01, 1.0);
}

} // namespace

int main(int argc, char** argv)
{
    RealServer folders;
    RawPingPong raw;
    const Server plain(Kind::Plain, folders.SocketPath() + QStringLiteral(".plain"));
    const Server quick(Kind::Quick, folders.SocketPath());
    const Servers servers{&plain, &quick};
    const QCoreApplication application(argc, argv);

    std::printf("Both processes free\n");
    PrintPingPong(raw);
    bool kept = CompareTime(QStringLiteral("get_Value"), servers, 0.65);
    kept &= CompareCpu(QStringLiteral("a line of a batch"), servers, 100'000 / Rounds, WriteLine);
    kept &= CompareCpu(QStringLiteral("40,000 events"), servers, 1, TakeEvents);
    kept &= CompareRest(quick);
    {
        const auto spin = [] {
            for (;;) {
            }
        };
        const Child one(spin), two(spin);
        std::printf("Cores busy\n");
        kept &= CompareTime(QStringLiteral("get_Value"), servers, 1.05);
    }
    for (const pid_t process : {plain.Id(), quick.Id(), static_cast<pid_t>(raw.ProcessId())})
        Figures::PinToOneCore(process, true);
    std::printf("Both processes on one core\n");
    PrintPingPong(raw);
    kept &= CompareTime(QStringLiteral("get_Value"), servers, 1.05);
    return kept ? 0 : 1;
}
