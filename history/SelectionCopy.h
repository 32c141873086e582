#pragma once

#include <QItemSelection>
#include <QObject>
#include <QTimer>

class ResultModel;

/// Puts the selected cells on the clipboard as complete, tab-separated texts. A large selection is read in slices
/// between other events; the clipboard changes once everything has been read.
class SelectionCopy : public QObject
{
    Q_OBJECT

public:
    /// A longer text is refused.
    static constexpr qsizetype MostCharacters = 50'000'000;

    /// Reads the first slice at once, so that a small selection is on the clipboard when this returns. `model` must
    /// outlive this object and keep its result.
    SelectionCopy(ResultModel& model, const QItemSelection& selection);
    bool IsDone() const { return m_Done; }

private:
    void Slice();
    void ReadRow();
    QString CellText(int row, int column) const;
    void Finish();
    void NextRow();

    ResultModel& m_Model;
    const QItemSelection m_Selection;
    /// In order, without repetition or overlap.
    QList<std::pair<int, int>> m_RowRuns;
    QList<int> m_Columns;
    bool m_IsSingleCell = false;
    qsizetype m_Run = 0;
    int m_Row = 0;
    QString m_Text;
    QTimer m_Next;
    bool m_Done = false;
};
