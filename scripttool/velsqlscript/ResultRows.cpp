#include "scripttool/velsqlscript/ResultRows.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"

#include <QThread>

#include <limits>

namespace {

/// Pause between two questions about the server's progress.
constexpr unsigned long ShortestPauseMs = 1;
constexpr unsigned long LongestPauseMs = 50;

} // namespace

ResultRows::ResultRows(ResultSetRef result)
    : m_Result(std::move(result))
{
    ++s_Count;
}

QStringList ResultRows::ColumnNames()
{
    if (!m_ColumnsRead) m_Columns = m_Result->Columns();
    m_ColumnsRead = true;
    return m_Columns;
}

Variant ResultRows::Columns()
{
    return SafeArray(QList<QString>(ColumnNames()));
}

qint64 ResultRows::Affected()
{
    WaitForRows(std::numeric_limits<qint64>::max());
    return m_Progress.Affected;
}

Variant ResultRows::RowCount()
{
    WaitForRows(std::numeric_limits<qint64>::max());
    if (!m_Progress.Failure.isEmpty()) throw ServerError(m_Progress.Failure);
    const qint64 count = m_Progress.RowsSoFar;
    return count <= std::numeric_limits<qint32>::max() ? Variant(static_cast<qint32>(count))
                                                       : Variant(static_cast<double>(count));
}

bool ResultRows::HasRow(qint64 row)
{
    if (row < 0) return false;
    WaitForRows(row + 1);
    if (row < m_Progress.RowsSoFar) return true;
    if (!m_Progress.Failure.isEmpty()) throw ServerError(m_Progress.Failure);
    return false;
}

Variant ResultRows::Row(qint32 row)
{
    const ResultPage& page = PageOf(row);
    QList<Variant> cells;
    for (qint32 column = 0; column < ColumnNames().size(); ++column)
        cells.append(page.Cell(static_cast<qint32>(row - page.FirstRow()), column));
    return SafeArray(std::move(cells));
}

Variant ResultRows::Cell(qint32 row, qint32 column)
{
    const ResultPage& page = PageOf(row);
    return page.Cell(static_cast<qint32>(row - page.FirstRow()), column);
}

void ResultRows::WaitForRows(qint64 enough)
{
    unsigned long pauseMs = ShortestPauseMs;
    while (m_Progress.RowsSoFar < enough && !m_Progress.Complete) {
        m_Progress = m_Result->Progress();
        if (m_Progress.RowsSoFar >= enough || m_Progress.Complete) return;
        QThread::msleep(pauseMs);
        pauseMs = qMin(2 * pauseMs, LongestPauseMs);
    }
}

const ResultPage& ResultRows::PageOf(qint64 row)
{
    if (!HasRow(row)) throw ValueError::SubscriptOutOfRange();
    if (!m_Page || !m_Page->Holds(row)) m_Page = m_Result->PageOf(row);
    return *m_Page;
}
