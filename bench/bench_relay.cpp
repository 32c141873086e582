// The console on a server that is 20 ms away, there and back: what takes how many round trips, and how long input waits.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "controller/EventList.h"
#include "controller/frmController.h"
#include "core/GridRefresher.h"
#include "core/PropertyGrid.h"
#include "item/frmItem.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>

namespace {

constexpr int OneWayMs = 10;
constexpr double RoundTripMs = 2 * OneWayMs;
constexpr int Windows = 10;
constexpr int Bursts = 50;
constexpr int EventsPerBurst = 500;
constexpr int BurstMs = 100;
/// Neither active nor linked, active, active with a link that is.
const QStringList ItemNames = {QStringLiteral("D100"), QStringLiteral("Recipe"), QStringLiteral("Set point copy")};

bool PrintMs(const char* name, double milliseconds, double limit)
{
    const bool kept = milliseconds <= limit;
    std::printf("  %-52s %9.2f ms  (at most %.0f)%s\n", name, milliseconds, limit, kept ? "" : "  EXCEEDED");
    std::fflush(stdout);
    return kept;
}

/// Milliseconds of the middle of some tries.
double MedianMs(const std::function<void()>& action, int tries = 11)
{
    return Figures::MeasureInTurn(1, tries, {action})[0].MedianUs / 1000;
}

/// As a double click opens it, until it is painted with its values.
frmItem& OpenItem(const TreeNodeRef& node)
{
    auto* form = ChildWindow::Open<frmItem>(node);
    form->ShowForm();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    return *form;
}

bool MeasureOpening(const TreeNodeRef& controller)
{
    const auto openAndClose = [](const TreeNodeRef& node) {
        return MedianMs([&] {
            frmItem& form = OpenItem(node);
            if (form.findChild<PropertyGrid*>()->HasFailedRows()) qFatal("the window is not filled");
            form.Unload();
        });
    };
    BenchConsole::Item(ItemNames[0])->put_Activation(false);
    bool kept = PrintMs("an item window, opened and filled", openAndClose(controller->Child(0)), 60);
    const ItemRef linked = BenchConsole::Item(ItemNames[2]);
    linked->put_Activation(true);
    linked->put_LinkActivation(true);
    kept &= PrintMs("of an active item with a link", openAndClose(controller->Child(2)), 110);
    return kept;
}

bool MeasureRefreshing(const TreeNodeRef& controller)
{
    QList<frmItem*> forms;
    for (int i = 0; i < Windows; ++i) forms << &OpenItem(controller->Child(i % 3));
    auto& refresher = *forms[0]->findChild<GridRefresher*>();
    bool kept = PrintMs("a refresh of an item window", MedianMs([&] { refresher.RefreshNow(); }), 30);
    RunEvents(1000);
    const GapWatch watch;
    RunEvents(5000);
    kept &= PrintMs("longest time that input waited, 10 windows", watch.LongestMs(), 1.5 * RoundTripMs);
    for (frmItem* form : forms) form->Unload();
    return kept;
}

/// Fires from a thread of its own, beside the relay.
std::unique_ptr<QThread> FireBursts(const QString& socketPath)
{
    std::unique_ptr<QThread> thread(QThread::create([socketPath] {
        RemoteLibrary library(socketPath, QString());
        const ControllerRef controller = library.AttachEngine()->get_Controller(Variant(QStringLiteral("PLC1")));
        QElapsedTimer time;
        time.start();
        for (int burst = 1; burst <= Bursts; ++burst) {
            controller->Execute(QStringLiteral("fire item D100 %1").arg(EventsPerBurst), Variant());
            QThread::msleep(static_cast<unsigned long>(std::max<qint64>(0, burst * BurstMs - time.elapsed())));
        }
    }));
    thread->start();
    return thread;
}

bool MeasureEvents(const QString& socketPath)
{
    BenchConsole::Controller()->Execute(QStringLiteral("state 2"),
                                        Variant()); // the only events are those that are fired
    auto* form = ChildWindow::Open<frmController>(BenchConsole::ControllerNode());
    form->findChild<QCheckBox*>(QStringLiteral("chkEvent_0"))->setChecked(true);
    form->ShowForm();
    RunEvents(1000);
    const auto& list = *form->findChild<EventList*>();
    const int wanted = Bursts * EventsPerBurst;
    const GapWatch watch;
    QElapsedTimer time;
    time.start();
    const auto firing = FireBursts(socketPath);
    RunEventsUntil([&] { return list.ListCount() >= wanted || time.elapsed() > 60'000; });
    const double milliseconds = static_cast<double>(time.elapsed());
    const double longestGap = watch.LongestMs();
    RunEvents(200); // one too many would come now
    firing->wait();
    std::printf("  %d events in %.0f ms: %.0f a second\n", list.ListCount(), milliseconds,
                list.ListCount() * 1000 / milliseconds);
    bool kept = PrintMs("5,000 events a second: behind the last one", milliseconds - (Bursts - 1) * BurstMs, 500);
    kept &= PrintMs("longest time that input waited", longestGap, 50);
    if (list.ListCount() != wanted) std::printf("  %d events were expected  EXCEEDED\n", wanted);
    kept &= list.ListCount() == wanted;
    form->Unload();
    return kept;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    BenchConsole console(ItemNames, {}, OneWayMs);
    const TreeNodeRef controller = BenchConsole::ControllerNode();
    const ItemRef item = BenchConsole::Item(ItemNames[0]);
    std::printf("A relay that delays both directions by %d ms\n", OneWayMs);
    bool kept = PrintMs("get_Value", MedianMs([&] { item->get_Value(); }), 1.2 * RoundTripMs);
    kept &= MeasureOpening(controller);
    kept &= MeasureRefreshing(controller);
    kept &= MeasureEvents(console.ServerSocketPath());
    return kept ? 0 : 1;
}
