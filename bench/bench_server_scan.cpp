// get_Value while 10,000 items are scanned at 100 ms, against the same server with nothing to scan.
// The scans are counted: a server that leaves them out would look quick.
// Then its longest wait while 1,000,000 items are scanned without pause, against what it takes to read them all.
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

constexpr int Items = 10'000;
constexpr int ScanMs = 100;
constexpr int Rounds = 5;
constexpr int CallsPerRound = 25'000; // about a second
constexpr int ManyItems = 1'000'000;
constexpr int ManyMs = 10'000; // for how long their server is asked

void WritePlant(const QString& path, int items)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no plant file");
    file.write(QStringLiteral("[[controller]]\nname = \"Busy\"\nactive = false\nscan_times = [%1, 0, 0]\n"
                              "[[controller.item]]\nname = \"Scans\"\ntype = \"I4\"\n"
                              "signal = { form = \"counter\" }\n"
                              "[[controller.item]]\nname = \"I{1..%2}\"\ntype = \"R8\"\n"
                              "signal = { form = \"sine\", period = \"{5+n}\" }\n")
                   .arg(ScanMs)
                   .arg(items - 1)
                   .toUtf8());
}

/// A server with so many items, and a client of it.
struct ScanningServer
{
    explicit ScanningServer(int items)
    {
        const QTemporaryDir folder;
        const QString plant = folder.filePath(QStringLiteral("plant.toml"));
        WritePlant(plant, items);
        Server.Start({QStringLiteral("--plant"), plant});
        Library.emplace(Server.SocketPath(), QString());
        Engine = Library->CreateEngine();
        Controller = Engine->get_Controller(Variant(QStringLiteral("Busy")));
        Scans = Controller->get_Item(Variant(QStringLiteral("Scans")));
        Controller->Snapshot();
    }

    RealServer Server;
    std::optional<RemoteLibrary> Library;
    EngineRef Engine;
    ControllerRef Controller;
    ItemRef Scans; ///< counts them
};

/// What get_Value costs, and how often the items were scanned meanwhile.
struct Round
{
    double MedianUs = 0.0;
    int Scans = 0;
    qint64 Milliseconds = 0;
};

Round Measure(VelSQLItem& scans)
{
    Round round;
    QElapsedTimer time;
    time.start();
    const int before = scans.get_Value().Get<qint32>();
    round.MedianUs = Figures::MeasureInTurn(1, CallsPerRound, {[&] { scans.get_Value(); }})[0].MedianUs;
    round.Scans = scans.get_Value().Get<qint32>() - before;
    round.Milliseconds = time.elapsed();
    return round;
}

double MiddleOf(QList<double> medians)
{
    std::sort(medians.begin(), medians.end());
    return medians[medians.size() / 2];
}

bool Check(bool holds, const char* what)
{
    if (!holds) std::printf("  FAILED: %s\n", what);
    return holds;
}

bool CompareWithIdle()
{
    ScanningServer server(Items);
    // Rounds alternate between both states, so that slow phases of the machine hit both.
    QList<double> idle, busy;
    int idleScans = 0, busyScans = 0;
    qint64 busyMs = 0;
    for (int i = 0; i < Rounds; ++i) {
        server.Controller->Stop();
        const Round still = Measure(*server.Scans);
        server.Controller->Start();
        const Round scanning = Measure(*server.Scans);
        idle.append(still.MedianUs);
        busy.append(scanning.MedianUs);
        idleScans += still.Scans;
        busyScans += scanning.Scans;
        busyMs += scanning.Milliseconds;
    }
    std::printf("get_Value, median of %d rounds of %d calls\n", Rounds, CallsPerRound);
    std::printf("  %-52s %9.2f us\n", "nothing is scanned", MiddleOf(idle));
    std::printf("  %-52s %9.2f us\n", "10,000 items are scanned at 100 ms", MiddleOf(busy));
    std::printf("  %-52s %9.2f a second\n", "scans", busyScans * 1000.0 / static_cast<double>(busyMs));
    const bool items = Check(server.Controller->get_Count() == Items, "the controller has all items");
    const bool none = Check(idleScans == 0, "nothing is scanned when it is stopped");
    const bool all = Check(busyScans >= 0.8 * static_cast<double>(busyMs / ScanMs), "the scan time is kept");
    const bool quick =
        Figures::PrintRatio(QStringLiteral("get_Value, median: scanning / idle"), MiddleOf(busy) / MiddleOf(idle), 1.5);
    return items && none && all && quick;
}

bool FindLongestWait()
{
    ScanningServer server(ManyItems);
    QElapsedTimer time;
    time.start();
    server.Controller->Snapshot();
    const double reading = static_cast<double>(time.nsecsElapsed()) / 1e6;
    server.Controller->Start();
    const int before = server.Scans->get_Value().Get<qint32>();
    double longest = 0.0;
    int calls = 0;
    for (time.start(); time.elapsed() < ManyMs; ++calls) {
        QElapsedTimer wait;
        wait.start();
        server.Scans->get_Value();
        longest = std::max(longest, static_cast<double>(wait.nsecsElapsed()) / 1e6);
    }
    const int scans = server.Scans->get_Value().Get<qint32>() - before;
    std::printf("%d items, asked for %d s\n", ManyItems, ManyMs / 1000);
    std::printf("  %-52s %9.2f ms\n", "Snapshot", reading);
    std::printf("  %-52s %9d\n", "scans", scans);
    std::printf("  %-52s %9d\n", "get_Value", calls);
    std::printf("  %-52s %9.2f ms\n", "get_Value, longest", longest);
    const bool some = Check(scans * reading >= 0.2 * ManyMs, "scanning has its share of the time");
    const bool brief = Figures::PrintRatio(QStringLiteral("get_Value, longest / Snapshot"), longest / reading, 0.25);
    return some && brief;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const bool quick = CompareWithIdle();
    const bool patient = FindLongestWait();
    return quick && patient ? 0 : 1;
}
