#pragma once

#include <QItemSelection>

/// Walks over the rows of a selection, from the first to the last; what is selected in between may have holes.
class SelectedRows
{
public:
    explicit SelectedRows(const QItemSelection& selection);

    /// Those in which anything is selected.
    const QList<int>& Columns() const { return m_Columns; }
    qint64 Count() const { return m_Count; }
    bool IsSingleCell() const { return m_Count == 1 && m_Columns.size() == 1; }

    /// How many rows lie behind.
    qint64 Done() const { return m_Done; }
    bool IsAtEnd() const { return m_Done == m_Count; }
    int Row() const { return m_Row; }
    /// Whether the cell of this row in the i-th of the columns is selected.
    bool IsSelected(qsizetype i) const { return m_Bands[m_Band].Columns[i]; }
    void Next();

private:
    /// Consecutive rows in which the same columns are selected.
    struct Band
    {
        int FirstRow;
        int LastRow;
        QList<bool> Columns;
    };

    void AddBand(const QItemSelection& ranges, int firstRow, int lastRow);

    QList<int> m_Columns;
    QList<Band> m_Bands;
    qint64 m_Count = 0;
    qint64 m_Done = 0;
    qsizetype m_Band = 0;
    int m_Row = 0;
};
