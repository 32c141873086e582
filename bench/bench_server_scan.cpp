// get_Value while 10,000 items are scanned at 100 ms, against the same server with nothing to scan.
// The scans are counted: a server that leaves them out would look quick.
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

namespace {

constexpr int Items = 10'000;
constexpr int ScanMs = 100;
constexpr int Rounds = 5;
constexpr int CallsPerRound = 25'000; // about a second

void WritePlant(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no plant file");
    file.write(QStringLiteral("[[controller]]\nname = \"Busy\"\nactive = false\nscan_times = [%1, 0, 0]\n"
                              "[[controller.item]]\nname = \"Scans\"\ntype = \"I4\"\n"
                              "signal = { form = \"counter\" }\n")
                   .arg(ScanMs)
                   .toUtf8());
    for (int i = 1; i < Items; ++i)
        file.write(QStringLiteral("[[controller.item]]\nname = \"I%1\"\ntype = \"R8\"\n"
                                  "signal = { form = \"sine\", period = %2 }\n")
                       .arg(i)
                       .arg(5 + i % 50)
                       .toUtf8());
}

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

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString plant = folder.filePath(QStringLiteral("plant.toml"));
    WritePlant(plant);
    RealServer server;
    server.Start({QStringLiteral("--plant"), plant});
    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.CreateEngine();
    const ControllerRef controller = engine->get_Controller(Variant(QStringLiteral("Busy")));
    const ItemRef item = controller->get_Item(Variant(QStringLiteral("Scans")));
    controller->Snapshot();

    // Rounds alternate between both states, so that slow phases of the machine hit both.
    QList<double> idle, busy;
    int idleScans = 0, busyScans = 0;
    qint64 busyMs = 0;
    for (int i = 0; i < Rounds; ++i) {
        controller->Stop();
        const Round still = Measure(*item);
        controller->Start();
        const Round scanning = Measure(*item);
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
    const bool items = Check(controller->get_Count() == Items, "the controller has all items");
    const bool none = Check(idleScans == 0, "nothing is scanned when it is stopped");
    const bool all = Check(busyScans >= 0.8 * static_cast<double>(busyMs / ScanMs), "the scan time is kept");
    const bool quick =
        Figures::PrintRatio(QStringLiteral("get_Value, median: scanning / idle"), MiddleOf(busy) / MiddleOf(idle), 1.5);
    return items && none && all && quick ? 0 : 1;
}
