#include "history/ResultReader.h"

#include "core/automation/Errors.h"

#include <numeric>

namespace {

constexpr qsizetype MostPages = 256;

} // namespace

ResultReader::ResultReader(ResultSetRef result)
    : m_Result(std::move(result))
{
    if (!m_Result) return;
    m_Columns = m_Result->Columns();
    Advance();
    if (!m_Columns.isEmpty() && RowCount() > 0) PageOf(0);
}

void ResultReader::Advance()
{
    if (m_Result) m_Progress = m_Result->Progress();
}

const ResultPage& ResultReader::PageOf(qint64 row)
{
    for (qsizetype i = 0; i < m_Pages.size(); ++i) {
        if (!m_Pages[i]->Holds(row)) continue;
        m_Pages.move(i, 0);
        return *m_Pages.constFirst();
    }
    const ResultPageRef page = m_Result ? m_Result->PageOf(row) : nullptr;
    if (!page || !page->Holds(row))
        throw ServerError(QStringLiteral("The server sent a page without row %1.").arg(row));
    Keep(page);
    return *page;
}

Variant ResultReader::Cell(qint64 row, int column)
{
    const ResultPage& page = PageOf(row);
    return page.Cell(static_cast<qint32>(row - page.FirstRow()), column);
}

void ResultReader::Keep(const ResultPageRef& page)
{
    m_Pages.prepend(page);
    qsizetype bytes = 0;
    for (qsizetype i = 1; i < m_Pages.size(); ++i) {
        bytes += m_Pages[i]->Bytes();
        if (bytes > MostBytes || i >= MostPages) return m_Pages.resize(i);
    }
}

qsizetype ResultReader::KeptBytes() const
{
    return std::accumulate(m_Pages.begin(), m_Pages.end(), qsizetype{0},
                           [](qsizetype sum, const ResultPageRef& page) { return sum + page->Bytes(); });
}
