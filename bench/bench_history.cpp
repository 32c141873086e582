// What the history window costs with a table of a million rows: the first rows, the memory, the way to the end, the
// events between, and a copy of 100,000 of them.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "bench/HistoryFloor.h"
#include "core/modMain.h"
#include "history/frmHistory.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTableView>

#include <cstdio>

namespace {

using HistoryFloor::Columns;
using HistoryFloor::Rows;
using HistoryFloor::Statement;

constexpr int Times = 5;
constexpr int CopiedRows = 100'000;
constexpr double MostCopyMs = 1000.0;
constexpr double MostGrowthMB = 30.0;

class Bench
{
public:
    Bench(frmHistory& form, qint64 server)
        : m_Server(server)
        , m_Execute(form.findChild<QPushButton*>(QStringLiteral("cmdExecute")))
        , m_Statement(form.findChild<StatementEdit*>())
        , m_Grid(form.findChild<ResultGrid*>())
    {
        m_Statement->SetText(Statement);
    }

    bool MeasureFirstRows();
    bool MeasureEnd();
    bool MeasureScrolling();
    bool MeasureCopy();
    bool PrintMemory(double before) const;

private:
    void ShowFirstRows();
    void ShowNothing();
    HistoryFloor::WayToEnd ShowLastRow(double& longestGapMs);
    static Figures::Cost ScreenCost(QTableView& table);
    Figures::Cost OwnScreenCost(double& longestGapMs);
    struct CopyCost
    {
        double Ms;
        double GapMs; ///< the longest time that other events waited
    };
    CopyCost Copy(SelectionCopy::Format format);
    bool IsShown(int row) const { return m_Grid->Model().index(row, 0).data().toString().startsWith(u"PLC"); }

    qint64 m_Server;
    QPushButton* m_Execute;
    StatementEdit* m_Statement;
    ResultGrid* m_Grid;
    double m_MostMB = 0.0;
};

void Bench::ShowFirstRows()
{
    m_Execute->click();
    RunEventsUntil([this] { return IsShown(0); });
    m_Grid->viewport()->repaint();
}

/// Ends the statement that runs, so that the server is idle again.
void Bench::ShowNothing()
{
    m_Statement->SetText(QStringLiteral("SELECT 1"));
    m_Execute->click();
    RunEventsUntil([this] { return m_Grid->Model().IsComplete(); });
    m_Statement->SetText(Statement);
}

bool Bench::MeasureFirstRows()
{
    std::printf("First rows of %d\n", Rows);
    ShowFirstRows();
    HistoryFloor::BareTable table(*m_Grid);
    const ResultSetRef bare = modMain::History->Execute(Statement);
    RunEventsUntil([&] { return bare->Progress().Complete; });
    const auto untilFirstPage = [&] {
        const ResultSetRef result = modMain::History->Execute(Statement);
        result->Columns();
        while (result->Progress().RowsSoFar == 0) {
        }
        result->PageOf(0);
    };
    const auto pause = [this] { ShowNothing(); };
    const auto costs = Figures::MeasureInTurn(
        25, 1,
        {[&] { table.Reset(); }, [&] { bare->PageOf(0); }, pause, untilFirstPage, pause, [&] { ShowFirstRows(); }});
    Figures::PrintCost(QStringLiteral("bare table of ready rows"), costs[0]);
    Figures::PrintCost(QStringLiteral("bare page call"), costs[1]);
    Figures::PrintCost(QStringLiteral("bare Execute until the first page is there"), costs[3]);
    Figures::PrintCost(QStringLiteral("button pressed until rows are painted"), costs[5]);
    return Figures::PrintRatio(QStringLiteral("rows painted / table and Execute"),
                               costs[5].MedianUs / (costs[0].MedianUs + costs[3].MedianUs), 3.0);
}

HistoryFloor::WayToEnd Bench::ShowLastRow(double& longestGapMs)
{
    const double cpu = Figures::CpuMsOf(m_Server) + Figures::CpuMsOf(QCoreApplication::applicationPid());
    QElapsedTimer time;
    time.start();
    ShowFirstRows();
    const GapWatch gaps;
    m_Grid->GoToEnd();
    RunEventsUntil([this] { return m_Grid->Model().IsComplete() && IsShown(Rows - 1); });
    longestGapMs = std::max(longestGapMs, gaps.LongestMs());
    const double end = static_cast<double>(time.nsecsElapsed()) / 1e6;
    return {end, Figures::CpuMsOf(m_Server) + Figures::CpuMsOf(QCoreApplication::applicationPid()) - cpu};
}

bool Bench::MeasureEnd()
{
    std::printf("To the last row while the server reads, the best of %d\n", Times);
    const MemoryWatch memory;
    HistoryFloor::WayToEnd tool{1e9, 1e9};
    HistoryFloor::WayToEnd own{1e9, 1e9};
    const auto keepBest = [](HistoryFloor::WayToEnd& best, const HistoryFloor::WayToEnd& way) {
        best = {std::min(best.Ms, way.Ms), std::min(best.CpuMs, way.CpuMs)};
    };
    double gap = 0.0;
    for (int i = 0; i < Times; ++i) {
        keepBest(tool, HistoryFloor::PrintTable());
        keepBest(own, ShowLastRow(gap));
    }
    m_MostMB = std::max(m_MostMB, memory.MostMB());
    std::printf("  %-52s %9.0f ms  (cpu %.0f ms)\n", "sqlite3 prints the table", tool.Ms, tool.CpuMs);
    std::printf("  %-52s %9.0f ms  (cpu %.0f ms)\n", "last row on screen", own.Ms, own.CpuMs);
    return Figures::PrintRatio(QStringLiteral("last row on screen / sqlite3 prints the table"), own.Ms / tool.Ms, 4.0) &
           Figures::PrintRatio(QStringLiteral("processor time of both / of sqlite3"), own.CpuMs / tool.CpuMs, 4.0) &
           GapWatch::Print(gap);
}

/// Goes through all rows; what each screen of them took.
Figures::Cost Bench::ScreenCost(QTableView& table)
{
    QScrollBar* bar = table.verticalScrollBar();
    bar->setValue(0);
    int screens = 0;
    const double cpu = Figures::CpuMsOf(QCoreApplication::applicationPid());
    QElapsedTimer time;
    time.start();
    for (; bar->value() < bar->maximum(); ++screens) {
        bar->setValue(bar->value() + bar->pageStep());
        table.viewport()->repaint();
        QCoreApplication::processEvents();
    }
    std::printf("  %d screens of %d rows\n", screens, bar->pageStep());
    return {static_cast<double>(time.nsecsElapsed()) / 1e3 / screens,
            (Figures::CpuMsOf(QCoreApplication::applicationPid()) - cpu) * 1e3 / screens};
}

/// Before there is a bare table, whose rows would count as memory of the result.
Figures::Cost Bench::OwnScreenCost(double& longestGapMs)
{
    const GapWatch gaps;
    const MemoryWatch memory;
    const Figures::Cost own = ScreenCost(*m_Grid);
    m_MostMB = std::max(m_MostMB, memory.MostMB());
    longestGapMs = gaps.LongestMs();
    return own;
}

bool Bench::MeasureScrolling()
{
    std::printf("Scrolling through all rows, a screen of them at a time\n");
    double longestGapMs = 0.0;
    const Figures::Cost own = OwnScreenCost(longestGapMs);
    HistoryFloor::BareTable table(*m_Grid);
    const Figures::Cost bare = ScreenCost(table);
    Figures::PrintCost(QStringLiteral("a screen of a bare table of ready rows"), bare);
    Figures::PrintCost(QStringLiteral("a screen of the result"), own);
    return Figures::PrintRatio(QStringLiteral("a screen of the result / of the bare table"),
                               own.MedianUs / bare.MedianUs, 3.0) &
           GapWatch::Print(longestGapMs);
}

/// Reads every cell of a result and makes nothing of it.
double ReadMs(const ResultSetRef& result)
{
    RunEventsUntil([&] { return result->Progress().Complete; });
    QElapsedTimer time;
    time.start();
    for (qint64 row = 0; row < CopiedRows;) {
        const ResultPageRef page = result->PageOf(row);
        for (qint32 i = 0; i < page->RowCount(); ++i)
            for (qint32 column = 0; column < Columns; ++column) page->Cell(i, column);
        row += page->RowCount();
    }
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

/// Of all rows of a new result, of which the grid has read only the first.
Bench::CopyCost Bench::Copy(SelectionCopy::Format format)
{
    ShowFirstRows();
    RunEventsUntil([this] { return m_Grid->Model().IsComplete(); });
    m_Grid->selectAll();
    QGuiApplication::clipboard()->clear();
    const GapWatch gaps;
    QElapsedTimer time;
    time.start();
    m_Grid->Copy(format);
    RunEventsUntil([] { return !QGuiApplication::clipboard()->text().isEmpty(); });
    return {static_cast<double>(time.nsecsElapsed()) / 1e6, gaps.LongestMs()};
}

bool Bench::MeasureCopy()
{
    std::printf("Copying %d rows\n", CopiedRows);
    const QString statement = Statement + QStringLiteral(" LIMIT %1").arg(CopiedRows);
    m_Statement->SetText(statement);
    double bare = ReadMs(modMain::History->Execute(statement));
    const CopyCost tabs = Copy(SelectionCopy::Format::Text);
    const CopyCost csv = Copy(SelectionCopy::Format::Csv);
    bare = std::min(bare, ReadMs(modMain::History->Execute(statement)));
    std::printf("  %-52s %9.0f ms\n  %-52s %9.0f ms\n  %-52s %9.0f ms\n", "bare reading of all cells", bare,
                "on the clipboard, with tabs", tabs.Ms, "on the clipboard, as CSV", csv.Ms);
    const double slower = std::max(tabs.Ms, csv.Ms);
    return Figures::PrintRatio(QStringLiteral("the slower of both / bare reading"), slower / bare, 5.0) &
           Figures::PrintRatio(QStringLiteral("the slower of both / 1 second"), slower / MostCopyMs, 1.0) &
           GapWatch::Print(std::max(tabs.GapMs, csv.GapMs));
}

bool Bench::PrintMemory(double before) const
{
    std::printf("Memory: %.1f MB before the first statement, %.1f MB at most\n", before, m_MostMB);
    return Figures::PrintRatio(QStringLiteral("growth / 30 MB"), (m_MostMB - before) / MostGrowthMB, 1.0);
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const BenchConsole console({}, HistoryFloor::MakeTable);
    auto* form = ChildWindow::Open<frmHistory>(modMain::HistoryNode);
    form->ShowForm();
    QCoreApplication::processEvents();

    const double before = MemoryWatch::MegabytesNow();
    Bench bench(*form, console.ServerProcessId());
    bool kept = bench.MeasureEnd();
    kept &= bench.MeasureScrolling();
    kept &= bench.PrintMemory(before);
    kept &= bench.MeasureFirstRows();
    kept &= bench.MeasureCopy();
    form->Unload();
    return kept ? 0 : 1;
}
