// What a plant costs by its size, an item by item in its file: start, memory, scanning, the longest call and event
// meanwhile, and items that come and go. An item of a large plant costs at most twice one of a tenth as many.
#include "bench/Figures.h"
#include "bench/LargePlant.h"
#include "core/automation/ItemDefinition.h"
#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Sizes[] = {10'000, 100'000, 1'000'000};
constexpr int ControllerCount = 10'000; // one item each
constexpr int WatchedMs = 10'000;
constexpr int Additions = 20;

double MsOf(const QElapsedTimer& time)
{
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

/// Counts the events that come.
class Arrival : public ControllerEvents
{
public:
    explicit Arrival(VelSQLController& controller)
        : m_Subscription(controller.Subscribe(*this))
    {
    }
    void OnChangeState(qint32) override {}
    void OnChangeItem(const ItemRef&) override { ++m_Count; }
    int Count() const { return m_Count; }

private:
    int m_Count = 0;
    EventSubscriptionRef m_Subscription;
};

struct Costs
{
    double StartMs = 0;
    double StartCpuMs = 0;
    double Megabytes = 0; ///< beyond a server without a plant
    double ScanPercent = 0;
    double CallMs = 0;
    double EventMs = 0;
    double AddMs = 0;
    double RemoveMs = 0;
};

QList<Variant> Definition(const QString& name)
{
    QList<Variant> elements = UntouchedDefinition();
    elements[static_cast<int>(Element::Name)] = name;
    return elements;
}

/// The longest get_Value and the longest way of a change from put_Value to another client, some ten times a second.
void WatchWaits(VelSQLItem& item, VelSQLController& other, Costs& figures)
{
    const Arrival arrival(other);
    QElapsedTimer all;
    all.start();
    for (int i = 0; all.elapsed() < WatchedMs; ++i) {
        QElapsedTimer time;
        time.start();
        item.get_Value();
        figures.CallMs = std::max(figures.CallMs, MsOf(time));
        const int before = arrival.Count();
        time.start();
        item.put_Value(Variant(i));
        while (arrival.Count() == before && time.elapsed() < 5000) QCoreApplication::processEvents();
        figures.EventMs = std::max(figures.EventMs, MsOf(time));
        for (QElapsedTimer pause = time; pause.elapsed() < 50;)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

/// Items come at the end and go from the middle.
void AddAndRemove(VelSQLController& controller, int items, Costs& figures)
{
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < Additions; ++i) controller.AddItem(SafeArray(Definition(QStringLiteral("Added%1").arg(i))));
    figures.AddMs = MsOf(time) / Additions;
    time.start();
    for (int i = 0; i < Additions; ++i)
        controller.RemoveItem(QStringLiteral("Item%1").arg(items / 2 + i, 7, 10, QChar(u'0')));
    figures.RemoveMs = MsOf(time) / Additions;
}

Costs Measure(int controllers, int items, double emptyMegabytes)
{
    const QTemporaryDir folder;
    const QString plant = folder.filePath(QStringLiteral("plant.toml"));
    LargePlant(plant).Add(controllers, items);
    Costs figures;
    RealServer server;
    QElapsedTimer time;
    time.start();
    server.Start({QStringLiteral("--plant"), plant});
    figures.StartMs = MsOf(time);
    figures.StartCpuMs = Figures::CpuMsOf(server.ProcessId());
    RemoteLibrary library(server.SocketPath(), QString());
    RemoteLibrary otherLibrary(server.SocketPath(), QString());
    const auto controllerOf = [](RemoteLibrary& of) {
        return of.CreateEngine()->get_Controller(Variant(QStringLiteral("PLC0")));
    };
    const ControllerRef controller = controllerOf(library);
    const ItemRef item = controller->get_Item(Variant(QStringLiteral("Item0000000")));
    time.start();
    while (time.elapsed() < 3000) QCoreApplication::processEvents(QEventLoop::AllEvents, 100); // memory is given back
    figures.Megabytes = Figures::MegabytesOf(server.ProcessId()) - emptyMegabytes;
    const double cpu = Figures::CpuMsOf(server.ProcessId());
    time.start();
    while (time.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
    figures.ScanPercent = (Figures::CpuMsOf(server.ProcessId()) - cpu) / MsOf(time) * 100;
    WatchWaits(*item, *controllerOf(otherLibrary), figures);
    if (items > 2 * Additions) AddAndRemove(*controller, items, figures);
    return figures;
}

double EmptyMegabytes()
{
    const QTemporaryDir folder;
    const QString plant = folder.filePath(QStringLiteral("plant.toml"));
    LargePlant(plant).Add(1, 1);
    RealServer server;
    server.Start({QStringLiteral("--plant"), plant});
    return Figures::MegabytesOf(server.ProcessId());
}

void Print(int controllers, int items, const Costs& figures)
{
    const double count = static_cast<double>(controllers) * items;
    std::printf(
        "%9d x %-8d start %7.0f ms (cpu %6.0f), %6.0f bytes an item, scan %5.1f %% of a core, longest get_Value "
        "%5.1f ms, event %5.1f ms, AddItem %6.2f ms, RemoveItem %6.2f ms\n",
        controllers, items, figures.StartMs, figures.StartCpuMs, figures.Megabytes * 1024 * 1024 / count,
        figures.ScanPercent, figures.CallMs, figures.EventMs, figures.AddMs, figures.RemoveMs);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const double empty = EmptyMegabytes();
    QList<Costs> all;
    for (const int size : Sizes) {
        all.append(Measure(1, size, empty));
        Print(1, size, all.last());
    }
    const Costs many = Measure(ControllerCount, 1, empty);
    Print(ControllerCount, 1, many);
    const Costs &middle = all[1], &large = all[2];
    bool kept = Figures::PrintRatio(QStringLiteral("1,000,000 items: start / 5 s"), large.StartMs / 5000, 1.0);
    kept &= Figures::PrintRatio(QStringLiteral("bytes an item / 1024"), large.Megabytes / 1e6 * 1024, 1.0);
    kept &= Figures::PrintRatio(QStringLiteral("scan each second / 10 % of a core"), large.ScanPercent / 10, 1.0);
    kept &= Figures::PrintRatio(QStringLiteral("longest get_Value / 20 ms"), large.CallMs / 20, 1.0);
    kept &= Figures::PrintRatio(QStringLiteral("longest event / 50 ms"), large.EventMs / 50, 1.0);
    kept &= Figures::PrintRatio(QStringLiteral("start an item / of 100,000"), large.StartCpuMs / middle.StartCpuMs / 10,
                                2.0);
    kept &= Figures::PrintRatio(QStringLiteral("memory an item / of 100,000"), large.Megabytes / middle.Megabytes / 10,
                                2.0);
    kept &= Figures::PrintRatio(QStringLiteral("scanning an item / of 100,000"),
                                large.ScanPercent / middle.ScanPercent / 10, 2.0);
    return kept ? 0 : 1;
}
