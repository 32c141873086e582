// What the console costs by the size of the plant: the time from the server being ready to a window that can be used,
// its memory, opening a window, finding a name, adding an item and removing it. Each console is a process of its own,
// which starts when the server is ready.
#include "additem/AddedNode.h"
#include "bench/Figures.h"
#include "bench/LargePlant.h"
#include "core/automation/SafeArray.h"
#include "core/ChildWindow.h"
#include "core/ConsoleServices.h"
#include "core/FindBar.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"
#include "mainwindow/frmMDI.h"
#include "mainwindow/Start.h"
#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Windows = 20;
constexpr int Additions = 5;

double MsOf(const QElapsedTimer& time)
{
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

/// Of the clock that all processes share.
qint64 NowNs()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Median(QList<double> all)
{
    std::sort(all.begin(), all.end());
    return all[all.size() / 2];
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
    return Median(all);
}

/// A node that comes and goes in the middle of the controller's, each time until the tree shows it.
double ComeAndGoMs(ObjectTreeModel& tree, const TreeNodeRef& controller)
{
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < Windows; ++i) {
        const TreeNodeRef node = tree.Insert(controller, controller->ChildCount() / 2, u"Added"_s, NodeTag::AddItem);
        QApplication::processEvents();
        tree.Remove(node);
        QApplication::processEvents();
    }
    return MsOf(time) / Windows;
}

/// A letter that begins no name is typed in the tree: all names that are seen are looked at.
double LetterMs(frmMDI& console)
{
    QElapsedTimer time;
    time.start();
    console.findChild<QAbstractItemView*>(u"treeObject"_s)->keyboardSearch(u"~"_s);
    return MsOf(time);
}

/// Medians of what the console does for an item that is added before all others, and removed again.
struct Addition
{
    double AddItemMs, NodeMs, RemoveMs;

    Addition(ObjectTreeModel& tree, const TreeNodeRef& node)
    {
        const ControllerRef controller = modMain::Engine->get_Controller(node->Text());
        QList<Variant> definition = UntouchedDefinition();
        definition[0] = u"Added"_s;
        QList<double> adding, placing, removing;
        for (int i = 0; i < Additions; ++i) {
            QElapsedTimer time;
            time.start();
            controller->AddItem(SafeArray(definition));
            adding << MsOf(time);
            time.start();
            const TreeNodeRef added = InsertAddedNode(tree, node, *controller, u"Added"_s);
            placing << MsOf(time);
            time.start();
            controller->RemoveItem(u"Added"_s);
            tree.Remove(added);
            removing << MsOf(time);
        }
        AddItemMs = Median(adding);
        NodeMs = Median(placing);
        RemoveMs = Median(removing);
    }
};

/// What the operator waits for when a text is typed into the tree's find bar.
struct Finding
{
    double FirstMs = 0, AllMs = 0, LongestHoldMs = 0;
    QString Found;

    Finding(frmMDI& console, const QString& text)
    {
        auto& bar = *console.findChild<FindBar*>(u"fraFind"_s);
        auto& box = *bar.findChild<QLineEdit*>(u"txtFind"_s);
        const auto& said = *bar.findChild<QLabel*>(u"lblFound"_s);
        QElapsedTimer all, hold;
        all.start();
        hold.start();
        box.setText(text);
        Q_EMIT box.textEdited(text);
        for (bool isFirst = true;; isFirst = false, hold.start()) {
            if (!isFirst) QApplication::processEvents();
            LongestHoldMs = std::max(LongestHoldMs, MsOf(hold));
            Found = said.text();
            if (FirstMs == 0 && Found != u"Searching") FirstMs = MsOf(all);
            if (Found.contains(u" of ") || Found.contains(u"Not")) break;
        }
        AllMs = MsOf(all);
    }
    void Print(const char* what) const
    {
        std::printf("  find %s: the first after %.1f ms, all after %.1f ms, the longest hold %.1f ms (%s)\n", what,
                    FirstMs, AllMs, LongestHoldMs, qPrintable(Found));
    }
};

bool MeasureFinding(frmMDI& console, const TreeNodeRef& largest)
{
    const QString last = largest->Child(largest->ChildCount() - 1)->Text();
    const QString middle = largest->Child(largest->ChildCount() / 2)->Text();
    console.findChild<FindBar*>(u"fraFind"_s)->Open();
    const Finding opening(console, middle);
    opening.Print("a name in the middle, which opens the controller");
    const Finding whole(console, last), all(console, last.left(4)), none(console, u"no such name"_s);
    whole.Print("the last name of all");
    all.Print("a beginning that all have");
    none.Print("what is nowhere");
    const double holdMs = std::max({opening.LongestHoldMs, whole.LongestHoldMs, all.LongestHoldMs, none.LongestHoldMs});
    return Figures::PrintRatio(u"longest hold of the event loop by finding / 10 ms"_s, holdMs / 10, 1.0);
}

/// Prints what one console takes; the last controller is the largest.
int RunConsole(const QString& socket, qint64 server, qint64 readyNs)
{
    const double serverCpuMs = Figures::CpuMsOf(server);
    const qint64 self = QCoreApplication::applicationPid();
    RemoteLibrary library(socket, QString());
    Platform platform;
    ConsoleServices services{library, platform};
    const double processMs = static_cast<double>(NowNs() - readyNs) / 1e6;
    const std::unique_ptr<frmMDI> console = StartConsole(services);
    if (!console) return 1;
    QApplication::processEvents();
    const double startMs = static_cast<double>(NowNs() - readyNs) / 1e6;
    const Figures::Memory memory = Figures::MemoryOf(self);
    const TreeNodeRef engine = modMain::EngineNode;
    const TreeNodeRef first = engine->Child(0), largest = engine->Child(engine->ChildCount() - 2);
    std::printf("  window after %.0f ms, %.0f ms of them for the process; cpu %.0f ms and %.0f ms of the server\n",
                startMs, processMs, Figures::CpuMsOf(self), Figures::CpuMsOf(server) - serverCpuMs);
    std::printf("  memory %.0f MB, %.0f MB of it own, at most %.0f MB\n", memory.Resident, memory.Own, memory.Most);
    const double showMs = ShowMs(*console, first), showLargeMs = ShowMs(*console, largest);
    std::printf("  an item's window: %.2f ms in a controller of %d, %.2f ms in one of %d\n", showMs,
                first->ChildCount(), showLargeMs, largest->ChildCount());
    const double goesMs = ComeAndGoMs(console->Tree(), first), goesLargeMs = ComeAndGoMs(console->Tree(), largest);
    std::printf("  a node comes and goes: %.3f ms and %.3f ms\n", goesMs, goesLargeMs);
    const Addition addition(console->Tree(), largest);
    std::printf("  AddItem %.2f ms, its node by the server's list %.2f ms, RemoveItem with its node %.2f ms\n",
                addition.AddItemMs, addition.NodeMs, addition.RemoveMs);
    bool kept = MeasureFinding(*console, largest);
    const double goesOpenMs = ComeAndGoMs(console->Tree(), largest), letterMs = LetterMs(*console);
    std::printf("  in the open controller: a node comes and goes %.3f ms, a letter that is in no name %.2f ms\n",
                goesOpenMs, letterMs);
    kept &= Figures::PrintRatio(u"window / 1 s"_s, startMs / 1000, 1.0);
    kept &= Figures::PrintRatio(u"most memory of the start / 150 MB"_s, memory.Most / 150, 1.0);
    kept &= Figures::PrintRatio(u"a window in the largest controller / in the first"_s, showLargeMs / showMs, 2.0);
    kept &= Figures::PrintRatio(u"a node that comes and goes there / 10 ms"_s, goesLargeMs / 10, 1.0);
    kept &= Figures::PrintRatio(u"and where it is open / 10 ms"_s, goesOpenMs / 10, 1.0);
    kept &= Figures::PrintRatio(u"AddItem / 10 ms"_s, addition.AddItemMs / 10, 1.0);
    kept &= Figures::PrintRatio(u"its node / 50 ms"_s, addition.NodeMs / 50, 1.0);
    kept &= Figures::PrintRatio(u"RemoveItem / 10 ms"_s, addition.RemoveMs / 10, 1.0);
    const double endMb = Figures::MemoryOf(self).Resident;
    std::printf("  memory at the end %.0f MB\n", endMb);
    kept &= Figures::PrintRatio(u"memory with the largest controller open / 150 MB"_s, endMb / 150, 1.0);
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
                             {server.SocketPath(), QString::number(server.ProcessId()), QString::number(NowNs())}) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    if (argc > 3)
        return RunConsole(QString::fromLocal8Bit(argv[1]), QByteArray(argv[2]).toLongLong(),
                          QByteArray(argv[3]).toLongLong());
    bool kept = Measure(u"one controller with 100 items"_s, [](LargePlant& plant) { plant.Add(1, 100, true); });
    kept &= Measure(u"one controller with 1,000,000 items"_s, [](LargePlant& plant) { plant.Add(1, 1'000'000, true); });
    kept &=
        Measure(u"10,000 controllers with 100 items each"_s, [](LargePlant& plant) { plant.Add(10'000, 100, true); });
    kept &= Measure(u"a controller with 1,000,000 items beside 10,000 others"_s, [](LargePlant& plant) {
        plant.Add(10'000, 1, true);
        plant.Add(1, 1'000'000, true);
    });
    return kept ? 0 : 1;
}
