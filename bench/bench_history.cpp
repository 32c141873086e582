// What the history window costs with a table of a million rows: the first rows, the memory, the way to the end, the events between,
// and a copy of 100,000 of them.
#include "bench/BenchConsole.h"
#include "bench/Events.h"
#include "bench/Figures.h"
#include "core/modMain.h"
#include "history/frmHistory.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int Rows = 1'000'000;
constexpr int Columns = 4;
constexpr int CopiedRows = 100'000;
constexpr double MostCopyMs = 1000.0;
constexpr double MostGrowthMB = 30.0;
const QString Statement = QStringLiteral("SELECT * FROM measured");

QString DatabaseFile()
{
    return qEnvironmentVariable("XDG_STATE_HOME") + QStringLiteral("/velsql/history.db");
}

/// Runs the database's own tool; the milliseconds that it took.
double RunTool(const QString& sql)
{
    QElapsedTimer time;
    time.start();
    QProcess tool;
    tool.setStandardOutputFile(QProcess::nullDevice());
    tool.start(QStringLiteral("sqlite3"), {DatabaseFile(), sql});
    if (!tool.waitForFinished(-1) || tool.exitCode() != 0) qFatal("sqlite3: %s", qPrintable(tool.errorString()));
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

void MakeTable()
{
    QDir().mkpath(DatabaseFile().section(u'/', 0, -2));
    RunTool(QStringLiteral("CREATE TABLE measured(controller_name TEXT, item_name TEXT, item_value, item_time TEXT);"
                           "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                           "INSERT INTO measured SELECT 'PLC' || (i % 4), 'D' || (100 + i % 50), i * 0.25, "
                           "datetime('2024-01-01', '+' || i || ' seconds') FROM n")
                .arg(Rows - 1));
}

/// Memory of this process that belongs to no file.
double MegabytesNow()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) qFatal("no /proc");
    const QByteArray text = status.readAll();
    const qsizetype at = text.indexOf("RssAnon:") + 8;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed().toDouble() / 1024.0;
}

/// The most memory while it lives.
class MemoryWatch
{
public:
    MemoryWatch()
    {
        QObject::connect(&m_Timer, &QTimer::timeout, &m_Timer,
                         [this] { m_MostMB = std::max(m_MostMB, MegabytesNow()); });
        m_Timer.start(16);
    }
    double MostMB() const { return m_MostMB; }

private:
    QTimer m_Timer;
    double m_MostMB = MegabytesNow();
};

class Bench
{
public:
    explicit Bench(frmHistory& form)
        : m_Execute(form.findChild<QPushButton*>(QStringLiteral("cmdExecute")))
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
    struct CopyCost
    {
        double Ms;
        double GapMs; ///< the longest time that other events waited
    };
    CopyCost Copy(SelectionCopy::Format format);
    bool IsShown(int row) const { return m_Grid->Model().index(row, 0).data().toString().startsWith(u"PLC"); }

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

bool Bench::MeasureFirstRows()
{
    std::printf("First rows of %d\n", Rows);
    QStandardItemModel ready(200, Columns);
    for (int row = 0; row < 200; ++row)
        for (int column = 0; column < Columns; ++column)
            ready.setItem(row, column, new QStandardItem(QStringLiteral("PLC")));
    const ResultSetRef bare = modMain::History->Execute(Statement);
    RunEventsUntil([&] { return bare->Progress().Complete; });
    const auto showTable = [&] {
        QTableView table(m_Grid->parentWidget());
        table.setModel(&ready);
        table.resize(m_Grid->size());
        table.show();
        table.repaint();
        table.viewport()->repaint();
    };
    const auto untilFirstPage = [&] {
        const ResultSetRef result = modMain::History->Execute(Statement);
        result->Columns();
        while (result->Progress().RowsSoFar == 0) {
        }
        result->PageOf(0);
    };
    const auto costs =
        Figures::MeasureInTurn(7, 1, {showTable, [&] { bare->PageOf(0); }, untilFirstPage, [&] { ShowFirstRows(); }});
    Figures::PrintCost(QStringLiteral("bare table of 200 ready rows"), costs[0]);
    Figures::PrintCost(QStringLiteral("bare page call"), costs[1]);
    Figures::PrintCost(QStringLiteral("bare Execute until the first page is there"), costs[2]);
    Figures::PrintCost(QStringLiteral("button pressed until rows are painted"), costs[3]);
    const double own = costs[3].MedianUs - costs[2].MedianUs + costs[1].MedianUs;
    return Figures::PrintRatio(QStringLiteral("rows painted, Execute apart / table and page call"),
                               own / (costs[0].MedianUs + costs[1].MedianUs), 3.0) &
           Figures::PrintRatio(QStringLiteral("rows painted / table and Execute"),
                               costs[3].MedianUs / (costs[0].MedianUs + costs[2].MedianUs), 3.0);
}

bool Bench::MeasureEnd()
{
    std::printf("To the last row while the server reads\n");
    const double tool = std::min(RunTool(Statement), RunTool(Statement));
    QElapsedTimer time;
    time.start();
    ShowFirstRows();
    const GapWatch gaps;
    const MemoryWatch memory;
    m_Grid->GoToEnd();
    RunEventsUntil([this] { return m_Grid->Model().IsComplete() && IsShown(Rows - 1); });
    const double end = static_cast<double>(time.nsecsElapsed()) / 1e6;
    m_MostMB = std::max(m_MostMB, memory.MostMB());
    std::printf("  %-52s %9.0f ms\n  %-52s %9.0f ms\n", "sqlite3 prints the table", tool, "last row on screen", end);
    return Figures::PrintRatio(QStringLiteral("last row on screen / sqlite3 prints the table"), end / tool, 4.0) &
           GapWatch::Print(gaps.LongestMs());
}

bool Bench::MeasureScrolling()
{
    std::printf("Scrolling through all rows, a screen of them at a time\n");
    const GapWatch gaps;
    const MemoryWatch memory;
    QScrollBar* bar = m_Grid->verticalScrollBar();
    bar->setValue(0);
    int screens = 0;
    QElapsedTimer time;
    time.start();
    for (; bar->value() < bar->maximum(); ++screens) {
        bar->setValue(bar->value() + bar->pageStep());
        m_Grid->viewport()->repaint();
        QCoreApplication::processEvents();
    }
    m_MostMB = std::max(m_MostMB, memory.MostMB());
    std::printf("  %d screens, %.2f ms each\n", screens,
                static_cast<double>(time.nsecsElapsed()) / 1e6 / std::max(screens, 1));
    return GapWatch::Print(gaps.LongestMs());
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
    const BenchConsole console({}, MakeTable);
    auto* form = ChildWindow::Open<frmHistory>(modMain::HistoryNode);
    form->ShowForm();
    QCoreApplication::processEvents();

    const double before = MegabytesNow();
    Bench bench(*form);
    bool kept = bench.MeasureEnd();
    kept &= bench.MeasureScrolling();
    kept &= bench.PrintMemory(before);
    kept &= bench.MeasureFirstRows();
    kept &= bench.MeasureCopy();
    form->Unload();
    return kept ? 0 : 1;
}
