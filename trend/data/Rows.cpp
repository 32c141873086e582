#include "trend/data/Rows.h"

#include "core/automation/Errors.h"
#include "core/automation/ValueTypes.h"

#include <QThread>

#include <limits>

namespace {

constexpr unsigned long ShortestPauseMs = 1;
constexpr unsigned long LongestPauseMs = 20;

} // namespace

Rows::Rows(ResultSetRef result, std::function<bool()> isWanted)
    : m_Result(std::move(result))
    , m_IsWanted(std::move(isWanted))
{
}

bool Rows::Next()
{
    ++m_Row;
    if (m_Page && m_Page->Holds(m_Row)) return true;
    if (!IsThere()) return false;
    m_Page = m_Result->PageOf(m_Row);
    return true;
}

bool Rows::IsThere()
{
    unsigned long pauseMs = ShortestPauseMs;
    while (m_Row >= m_Progress.RowsSoFar && !m_Progress.Complete && m_IsWanted()) {
        m_Progress = m_Result->Progress();
        if (m_Row < m_Progress.RowsSoFar || m_Progress.Complete) break;
        QThread::msleep(pauseMs);
        pauseMs = std::min(2 * pauseMs, LongestPauseMs);
    }
    if (m_Row < m_Progress.RowsSoFar) return true;
    if (!m_Progress.Failure.isEmpty()) throw ServerError(m_Progress.Failure);
    return false;
}

Variant Rows::Cell(qint32 column) const
{
    return m_Page->Cell(static_cast<qint32>(m_Row - m_Page->FirstRow()), column);
}

double Rows::Number(qint32 column) const
{
    return NumberIn(Cell(column)).value_or(std::numeric_limits<double>::quiet_NaN());
}
