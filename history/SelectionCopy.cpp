#include "history/SelectionCopy.h"

#include "core/automation/Errors.h"
#include "core/modMain.h"
#include "history/CellFace.h"
#include "history/ResultModel.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>

#include <algorithm>

namespace {

constexpr int SliceMs = 10;

QList<std::pair<int, int>> RowRunsOf(const QItemSelection& selection)
{
    QList<std::pair<int, int>> runs;
    for (const QItemSelectionRange& range : selection) runs.append({range.top(), range.bottom()});
    std::sort(runs.begin(), runs.end());
    QList<std::pair<int, int>> merged;
    for (const auto& run : runs) {
        if (merged.isEmpty() || run.first > merged.constLast().second + 1) merged.append(run);
        else merged.last().second = std::max(merged.constLast().second, run.second);
    }
    return merged;
}

QList<int> ColumnsOf(const QItemSelection& selection)
{
    QList<int> columns;
    for (const QItemSelectionRange& range : selection)
        for (int column = range.left(); column <= range.right(); ++column) columns.append(column);
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
    return columns;
}

/// A text that contains tabs or line ends must stay one cell where it is pasted.
QString Quoted(QString text)
{
    const bool needsQuotes = text.startsWith(u'"') || std::any_of(text.cbegin(), text.cend(), [](QChar character) {
                                 return character == u'\t' || character == u'\n' || character == u'\r';
                             });
    if (!needsQuotes) return text;
    return u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

} // namespace

SelectionCopy::SelectionCopy(ResultModel& model, const QItemSelection& selection)
    : m_Model(model)
    , m_Selection(selection)
    , m_RowRuns(RowRunsOf(selection))
    , m_Columns(ColumnsOf(selection))
{
    if (m_RowRuns.isEmpty()) {
        m_Done = true;
        return;
    }
    m_IsSingleCell = m_Columns.size() == 1 && m_RowRuns.size() == 1 && m_RowRuns[0].first == m_RowRuns[0].second;
    m_Row = m_RowRuns[0].first;
    connect(&m_Next, &QTimer::timeout, this, &SelectionCopy::Slice);
    Slice();
    if (m_Done) return;
    modMain::SetStatus(QStringLiteral("Copy..."));
    m_Next.start(0);
}

void SelectionCopy::Slice()
{
    QElapsedTimer time;
    time.start();
    const bool isRead = modMain::ReportErrors([&] {
        while (!m_Done && !time.hasExpired(SliceMs)) ReadRow();
    });
    m_Done |= !isRead;
    if (m_Done) m_Next.stop();
}

void SelectionCopy::ReadRow()
{
    for (const int column : m_Columns) {
        if (column != m_Columns.constFirst()) m_Text += u'\t';
        if (m_Selection.contains(m_Model.index(m_Row, column))) m_Text += CellText(m_Row, column);
        if (m_Text.size() > MostCharacters)
            throw DescribedError(QStringLiteral("The selection is too large to be copied."));
    }
    NextRow();
}

QString SelectionCopy::CellText(int row, int column) const
{
    const QString text = WholeText(m_Model.Cell(row, column));
    return m_IsSingleCell ? text : Quoted(text);
}

void SelectionCopy::NextRow()
{
    if (m_Row < m_RowRuns[m_Run].second) ++m_Row;
    else if (++m_Run < m_RowRuns.size()) m_Row = m_RowRuns[m_Run].first;
    else return Finish();
    m_Text += u'\n';
}

void SelectionCopy::Finish()
{
    m_Done = true;
    QGuiApplication::clipboard()->setText(m_Text);
    if (m_Next.isActive()) modMain::SetStatus(QStringLiteral("Ready."));
}
