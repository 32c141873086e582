// What a line costs that is added to a long log, against one added to a short log, both on screen.
#include "bench/Figures.h"
#include "core/ConsoleServices.h"
#include "core/LogPane.h"
#include "core/MainWindow.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"
#include "tests/support/FakeServer.h"

#include <QApplication>
#include <QLabel>
#include <QMdiArea>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int ShortLog = 1'000;
constexpr int LongLog = 200'000;
constexpr int Rounds = 20;
constexpr int LinesPerRound = 50;

/// The log pane and status line of a console, which has some lines already.
class Console : public MainWindow
{
public:
    Console(ConsoleServices& services, int lines)
        : MainWindow(services)
        , m_Area(new QMdiArea)
        , m_Log(new LogPane)
        , m_Status(new QLabel)
    {
        auto* layout = new QVBoxLayout(&m_Widget);
        for (QWidget* part : QList<QWidget*>{m_Area, m_Log, m_Status}) layout->addWidget(part);
        m_Widget.resize(1100, 750);
        m_Widget.show();
        AddLines(lines, 100);
    }
    ~Console() override { modMain::SetMainWindow(nullptr); }

    void AddLines(int count, int linesAtOnce)
    {
        modMain::SetMainWindow(this);
        for (int i = 1; i <= count; ++i) {
            modMain::AddLog(u"Calling Item:get_Value..."_s);
            if (i % linesAtOnce != 0) continue;
            m_Log->ShowAppended();
            QApplication::processEvents();
        }
    }

    QWidget* Widget() override { return &m_Widget; }
    QMdiArea& ChildArea() override { return *m_Area; }
    LogPane& Log() override { return *m_Log; }
    ObjectTreeModel& Tree() override { return m_Tree; }
    TreeNodeRef SelectedNode() const override { return {}; }
    void SelectNode(const TreeNodeRef&) override {}
    void SetStatusText(const QString& text) override { m_Status->setText(text); }
    void PaintProgress() override {}
    void RefreshStatusBar() override {}
    void RefreshTlbar() override {}
    void RefreshMenuBar() override {}

private:
    QWidget m_Widget;
    QMdiArea* m_Area;
    LogPane* m_Log;
    QLabel* m_Status;
    ObjectTreeModel m_Tree;
};

bool Compare(const QString& what, Console& shortLog, Console& longLog, int linesAtOnce)
{
    const auto add = [linesAtOnce](Console& console) {
        return [&console, linesAtOnce] { console.AddLines(linesAtOnce, linesAtOnce); };
    };
    const auto costs = Figures::MeasureInTurn(Rounds, LinesPerRound / linesAtOnce, {add(shortLog), add(longLog)});
    std::printf("%s, %d at a time\n", qPrintable(what), linesAtOnce);
    Figures::PrintCost(u"from line 1,000 on"_s, costs[0]);
    Figures::PrintCost(u"from line 200,000 on"_s, costs[1]);
    const bool median = Figures::PrintRatio(u"long / short log"_s, costs[1].MedianUs / costs[0].MedianUs, 1.5);
    const bool cpu = Figures::PrintRatio(u"long / short log (cpu)"_s, costs[1].CpuUs / costs[0].CpuUs, 1.5);
    return median && cpu;
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    FakeServer server;
    Platform platform;
    ConsoleServices services{server, platform};
    Console shortLog(services, ShortLog);
    Console longLog(services, LongLog);
    const bool kept[] = {
        Compare(u"lines added and painted"_s, shortLog, longLog, 1),
        Compare(u"lines added and painted"_s, shortLog, longLog, 25),
    };
    return std::all_of(std::begin(kept), std::end(kept), [](bool one) { return one; }) ? 0 : 1;
}
