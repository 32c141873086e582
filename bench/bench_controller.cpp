// What a controller window costs on top of the server's calls: a storm of events, and ten windows that refresh.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "controller/EventList.h"
#include "controller/frmController.h"
#include "core/GridRefresher.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Windows = 10;
constexpr int Rounds = 3;
constexpr int Fired = 40'000;
const QString FireItems = QStringLiteral("fire item D100 %1").arg(Fired);

/// Receives the events and, if it is to, reads what the list shows of them.
class BareSubscriber : public ControllerEvents
{
public:
    BareSubscriber(VelSQLController& controller, bool reads)
        : m_Reads(reads)
        , m_Subscription(controller.Subscribe(*this))
    {
    }
    void OnChangeState(qint32) override {}
    void OnChangeItem(const ItemRef& item) override
    {
        ++m_Count;
        if (!m_Reads) return;
        m_Read += item->get_Name().size();
        m_Read += item->get_Value().Type();
    }
    int Count() const { return m_Count; }

private:
    const bool m_Reads;
    int m_Count = 0;
    qint64 m_Read = 0;
    EventSubscriptionRef m_Subscription;
};

/// A window on PLC1 and what the storm needs of it.
struct Window
{
    explicit Window(const TreeNodeRef& node)
        : Form(*ChildWindow::Open<frmController>(node))
        , List(*Form.findChild<EventList*>())
    {
        Form.ShowForm();
    }
    void LogItems(bool log) const { Form.findChild<QCheckBox*>(QStringLiteral("chkEvent_0"))->setChecked(log); }
    void Clear() const { Form.findChild<QPushButton*>(QStringLiteral("cmdClear"))->click(); }
    bool IsFull() const { return List.ListCount() == EventList::MostLines; }

    frmController& Form;
    EventList& List;
};

bool MeasureStorm(VelSQLController& controller, const TreeNodeRef& node)
{
    std::printf("%d item events, the list takes %d\n", Fired, EventList::MostLines);
    const Window window(node);
    double longestGap = 0.0;
    double before = 0.0, full = 0.0, after = 0.0;
    const auto bare = [&] {
        const BareSubscriber subscriber(controller, true);
        controller.Execute(FireItems, Variant());
        RunEventsUntil([&] { return subscriber.Count() >= EventList::MostLines; });
    };
    const auto list = [&] {
        before = Figures::HeapMb();
        window.LogItems(true);
        const GapWatch watch;
        controller.Execute(FireItems, Variant());
        RunEventsUntil([&] { return window.IsFull(); });
        longestGap = std::max(longestGap, watch.LongestMs());
        full = Figures::HeapMb();
    };
    const auto clear = [&] {
        window.LogItems(false);
        window.Clear();
        RunEvents(300);
        after = Figures::HeapMb();
    };
    const auto costs = Figures::MeasureInTurn(Rounds, 1, {bare, list, clear});
    Figures::PrintCost(QStringLiteral("bare subscriber, name and value read"), costs[0]);
    Figures::PrintCost(QStringLiteral("until the list is full"), costs[1]);
    std::printf("  heap in use: %.2f MB before, %.2f MB full, %.2f MB after Clear\n", before, full, after);
    window.Form.Unload();
    bool kept = Figures::PrintRatio(QStringLiteral("median: list / bare subscriber"),
                                    costs[1].MedianUs / costs[0].MedianUs, 2.5);
    kept &= GapWatch::Print(longestGap);
    kept &= Figures::PrintRatio(QStringLiteral("memory kept after Clear / memory of the full list"),
                                std::max(after - before, 0.0) / (full - before), 0.25);
    return kept;
}

/// Against a subscriber that only counts, over the same time.
bool MeasureOverflowed(VelSQLController& controller, const TreeNodeRef& node)
{
    constexpr int StormMs = 6000;
    std::printf("%d more item events when the list is full\n", Fired);
    const Window window(node);
    while (!window.IsFull()) window.List.AddLine(QStringLiteral("OnChangeItem: Name=D100, Value=25"));
    window.LogItems(true);
    controller.Execute(QStringLiteral("fire item D100 1"), Variant()); // overflows
    window.Form.findChild<GridRefresher*>()->Stop();
    RunEvents(500);
    const auto overflowed = [&] {
        window.LogItems(true);
        controller.Execute(FireItems, Variant());
        RunEvents(StormMs);
        window.LogItems(false);
    };
    int counted = 0;
    const auto counting = [&] {
        const BareSubscriber subscriber(controller, false);
        controller.Execute(FireItems, Variant());
        RunEvents(StormMs);
        counted = subscriber.Count();
    };
    const auto costs = Figures::MeasureInTurn(Rounds, 1, {counting, overflowed});
    if (counted < Fired) qFatal("only %d events in time", counted);
    window.Form.Unload();
    std::printf("  cpu: counting only %.2f us an event, full list %.2f us an event\n", costs[0].CpuUs / Fired,
                costs[1].CpuUs / Fired);
    return Figures::PrintRatio(QStringLiteral("cpu: full list / counting only"), costs[1].CpuUs / costs[0].CpuUs, 1.3);
}

/// The calls of one refresh, nothing else.
void AskEverything(VelSQLController& controller)
{
    controller.get_Index();
    controller.get_Name();
    controller.get_Description();
    controller.get_State();
    controller.get_Count();
    for (qint32 i = 0; i < 3; ++i) controller.get_ScanTimes(i);
    controller.get_Tag();
    for (qint16 i = 0; i < 21; ++i) controller.get_SettingData(Variant(i));
}

bool MeasureManyWindows(VelSQLController& controller, const TreeNodeRef& node)
{
    std::printf("%d windows refreshing, no value changed\n", Windows);
    int refreshes = 0;
    QObject counter;
    for (int i = 0; i < Windows; ++i) {
        const Window window(node);
        QObject::connect(window.Form.findChild<GridRefresher*>(), &GridRefresher::Refreshed, &counter,
                         [&] { ++refreshes; });
    }
    RunEvents(2000); // the windows are painted for the first time
    int measured = 0;
    const auto windows = [&] {
        refreshes = 0;
        RunEvents(4000);
        measured += refreshes;
    };
    const auto bare = [&] {
        for (int i = 0; i < refreshes; ++i) AskEverything(controller);
    };
    const auto costs = Figures::MeasureInTurn(Rounds, 1, {windows, bare});
    std::printf("  %d refreshes\n", measured);
    Figures::PrintCost(QStringLiteral("windows"), costs[0]);
    Figures::PrintCost(QStringLiteral("the same calls, bare"), costs[1]);
    return Figures::PrintRatio(QStringLiteral("cpu: windows / bare calls"), costs[0].CpuUs / costs[1].CpuUs, 1.3);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const BenchConsole console;
    const ControllerRef controller = BenchConsole::Controller();
    bool kept = MeasureStorm(*controller, BenchConsole::ControllerNode());
    kept &= MeasureOverflowed(*controller, BenchConsole::ControllerNode());
    kept &= MeasureManyWindows(*controller, BenchConsole::ControllerNode());
    return kept ? 0 : 1;
}
