// get_Value while 10,000 items are scanned at 100 ms, against the same server with nothing to scan.
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Items = 10'000;
constexpr int Rounds = 5;
constexpr int CallsPerRound = 4000;

void WritePlant(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no plant file");
    file.write("[[controller]]\nname = \"Busy\"\nactive = false\nscan_times = [100, 0, 0]\n");
    for (int i = 0; i < Items; ++i)
        file.write(QStringLiteral("[[controller.item]]\nname = \"I%1\"\ntype = \"R8\"\n"
                                  "signal = { form = \"sine\", period = %2 }\n")
                       .arg(i)
                       .arg(5 + i % 50)
                       .toUtf8());
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
    const ItemRef item = controller->get_Item(Variant(QStringLiteral("I0")));
    controller->Snapshot();

    // Rounds alternate between both states, so that slow phases of the machine hit both.
    QList<double> idle;
    QList<double> busy;
    for (int round = 0; round < Rounds; ++round) {
        controller->Stop();
        idle.append(Figures::MeasureInTurn(1, CallsPerRound, {[&] { item->get_Value(); }})[0].MedianUs);
        controller->Start();
        busy.append(Figures::MeasureInTurn(1, CallsPerRound, {[&] { item->get_Value(); }})[0].MedianUs);
    }
    std::sort(idle.begin(), idle.end());
    std::sort(busy.begin(), busy.end());
    std::printf("get_Value, median of %d rounds of %d calls\n", Rounds, CallsPerRound);
    std::printf("  %-52s %9.2f us\n", "nothing is scanned", idle[Rounds / 2]);
    std::printf("  %-52s %9.2f us\n", "10,000 items are scanned at 100 ms", busy[Rounds / 2]);
    return Figures::PrintRatio(QStringLiteral("get_Value, median: scanning / idle"),
                               busy[Rounds / 2] / idle[Rounds / 2], 1.5)
               ? 0
               : 1;
}
