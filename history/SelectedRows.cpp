#include "history/SelectedRows.h"

#include <algorithm>

namespace {

template <typename T>
void SortOut(QList<T>& values)
{
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

QList<int> ColumnsOf(const QItemSelection& selection)
{
    QList<int> columns;
    for (const QItemSelectionRange& range : selection)
        for (int column = range.left(); column <= range.right(); ++column) columns.append(column);
    SortOut(columns);
    return columns;
}

} // namespace

SelectedRows::SelectedRows(const QItemSelection& selection)
    : m_Columns(ColumnsOf(selection))
{
    QList<int> edges;
    for (const QItemSelectionRange& range : selection) edges << range.top() << range.bottom() + 1;
    SortOut(edges);
    QItemSelection waiting = selection;
    std::sort(waiting.begin(), waiting.end(), [](const auto& a, const auto& b) { return a.top() < b.top(); });
    QItemSelection open;
    qsizetype next = 0;
    for (qsizetype i = 0; i + 1 < edges.size(); ++i) {
        const int row = edges[i];
        open.removeIf([row](const QItemSelectionRange& range) { return range.bottom() < row; });
        while (next < waiting.size() && waiting[next].top() == row) open.append(waiting[next++]);
        if (!open.isEmpty()) AddBand(open, row, edges[i + 1] - 1);
    }
    if (!m_Bands.isEmpty()) m_Row = m_Bands.constFirst().FirstRow;
}

void SelectedRows::AddBand(const QItemSelection& ranges, int firstRow, int lastRow)
{
    QList<bool> columns(m_Columns.size(), false);
    for (const QItemSelectionRange& range : ranges) {
        const auto first = std::lower_bound(m_Columns.cbegin(), m_Columns.cend(), range.left()) - m_Columns.cbegin();
        std::fill_n(columns.begin() + first, range.width(), true);
    }
    m_Bands.append({firstRow, lastRow, std::move(columns)});
    m_Count += lastRow - firstRow + 1;
}

void SelectedRows::Next()
{
    ++m_Done;
    if (m_Row < m_Bands[m_Band].LastRow) ++m_Row;
    else if (!IsAtEnd()) m_Row = m_Bands[++m_Band].FirstRow;
}
