// What the console costs by the size of the plant: its start, its memory, opening a window, adding an item and removing
// it. Each console is a process of its own, which starts when the server is ready.
#include "bench/Figures.h"
#include "bench/LargePlant.h"
#include "core/ChildWindow.h"
#include "core/ConsoleServices.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"
#include "mainwindow/frmMDI.h"
#include "mainwindow/Start.h"
#include "tests/soak/SoakMemory.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Windows = 20;

double MsOf(const QElapsedTimer& time)
{
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

/// The median of windows of so many items of the controller, opened and closed again.
double ShowMs(frmMDI& console, const TreeNodeRef& controller)
{
    QList<double> all;
    for (int i = 0; i < Windows; ++i) {
        console.m_CurrentNode = controller->Child((controller->ChildCount() / 2 + i) % controller->ChildCount());
        QElapsedTimer time;
        time.start();
        console.findChild<QAction*>(u"btnShow"_s)->trigger();
        QApplication::processEvents();
        all << MsOf(time);
        ChildWindow::UnloadAll();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    std::sort(all.begin(), all.end());
    return all[all.size() / 2];
}

/// A node that comes and goes in the middle of the controller's.
double ComeAndGoMs(ObjectTreeModel& tree, const TreeNodeRef& controller)
{
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < Windows; ++i)
        tree.Remove(tree.Insert(controller, controller->ChildCount() / 2, u"Added"_s, NodeTag::AddItem));
    return MsOf(time) / Windows;
}

/// Prints what one console takes; the last controller is the largest.
int RunConsole(const QString& socket, qint64 server)
{
    const double serverCpuMs = Figures::CpuMsOf(server);
    RemoteLibrary library(socket, QString());
    Platform platform;
    ConsoleServices services{library, platform};
    QElapsedTimer time;
    time.start();
    const std::unique_ptr<frmMDI> console = StartConsole(services);
    if (!console) return 1;
    QApplication::processEvents();
    const double startMs = MsOf(time);
    const auto megabytes = static_cast<double>(ResidentOf(QCoreApplication::applicationPid())) / 1024;
    const double ownMegabytes = Figures::MegabytesOf(QCoreApplication::applicationPid());
    const TreeNodeRef engine = modMain::EngineNode;
    const TreeNodeRef first = engine->Child(0), largest = engine->Child(engine->ChildCount() - 2);
    std::printf("  start %.0f ms, cpu %.0f ms and %.0f ms of the server; memory %.0f MB, %.0f MB of it own\n", startMs,
                Figures::CpuMsOf(QCoreApplication::applicationPid()), Figures::CpuMsOf(server) - serverCpuMs, megabytes,
                ownMegabytes);
    const double showMs = ShowMs(*console, first), showLargeMs = ShowMs(*console, largest);
    std::printf("  an item's window: %.2f ms in a controller of %d, %.2f ms in one of %d\n", showMs,
                first->ChildCount(), showLargeMs, largest->ChildCount());
    const double goesMs = ComeAndGoMs(console->Tree(), first), goesLargeMs = ComeAndGoMs(console->Tree(), largest);
    std::printf("  a node comes and goes: %.3f ms and %.3f ms\n", goesMs, goesLargeMs);
    bool kept = Figures::PrintRatio(u"start / 1 s"_s, startMs / 1000, 1.0);
    kept &= Figures::PrintRatio(u"memory / 150 MB"_s, megabytes / 150, 1.0);
    kept &= Figures::PrintRatio(u"a window in the largest controller / in the first"_s, showLargeMs / showMs, 2.0);
    kept &= Figures::PrintRatio(u"a node that comes and goes there / 10 ms"_s, goesLargeMs / 10, 1.0);
    return kept ? 0 : 1;
}

bool Measure(const QString& what, const std::function<void(LargePlant&)>& fill)
{
    const QTemporaryDir folder;
    const QString plant = folder.filePath(u"plant.toml"_s);
    {
        LargePlant file(plant);
        fill(file);
    }
    RealServer server;
    server.Start({u"--plant"_s, plant});
    std::printf("%s\n", qPrintable(what));
    std::fflush(stdout);
    return QProcess::execute(QCoreApplication::applicationFilePath(),
                             {server.SocketPath(), QString::number(server.ProcessId())}) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (argc > 2) return RunConsole(QString::fromLocal8Bit(argv[1]), QByteArray(argv[2]).toLongLong());
    bool kept = Measure(u"one controller with 100 items"_s, [](LargePlant& plant) { plant.Add(1, 100); });
    kept &= Measure(u"one controller with 1,000,000 items"_s, [](LargePlant& plant) { plant.Add(1, 1'000'000); });
    kept &= Measure(u"10,000 controllers with 100 items each"_s, [](LargePlant& plant) { plant.Add(10'000, 100); });
    kept &= Measure(u"a controller with 1,000,000 items beside 10,000 others"_s, [](LargePlant& plant) {
        plant.Add(10'000, 1);
        plant.Add(1, 1'000'000);
    });
    return kept ? 0 : 1;
}
