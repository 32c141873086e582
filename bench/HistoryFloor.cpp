#include "bench/HistoryFloor.h"

#include "bench/Figures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QProcess>

namespace HistoryFloor {

namespace {

constexpr int BareRows = 15'000;

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

} // namespace

const QString Statement = QStringLiteral("SELECT * FROM measured");

void MakeTable()
{
    QDir().mkpath(DatabaseFile().section(u'/', 0, -2));
    RunTool(QStringLiteral("CREATE TABLE measured(controller_name TEXT, item_name TEXT, item_value, item_time TEXT);"
                           "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                           "INSERT INTO measured SELECT 'PLC' || (i % 4), 'D' || (100 + i % 50), i * 0.25, "
                           "datetime('2024-01-01', '+' || i || ' seconds') FROM n")
                .arg(Rows - 1));
}

WayToEnd PrintTable()
{
    const double cpu = Figures::CpuMsOfEndedChildren();
    const double time = RunTool(Statement);
    return {time, Figures::CpuMsOfEndedChildren() - cpu};
}

BareTable::BareTable(const QTableView& grid)
    : m_Rows(BareRows, Columns)
{
    for (int row = 0; row < BareRows; ++row)
        for (int column = 0; column < Columns; ++column)
            m_Rows.setItem(row, column, new QStandardItem(grid.model()->index(0, column).data().toString()));
    verticalHeader()->setDefaultSectionSize(grid.verticalHeader()->defaultSectionSize());
    resize(grid.size());
    show();
    Reset();
}

void BareTable::Reset()
{
    setModel(nullptr);
    setModel(&m_Rows);
    viewport()->repaint();
}

} // namespace HistoryFloor
