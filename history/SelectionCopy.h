#pragma once

#include "history/SelectedRows.h"
#include "resulttext/RowWriter.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class ResultModel;

/// Puts the selected cells on the clipboard as whole texts. A large selection is read in slices between which other
/// events are handled; the clipboard changes when all of it was read, and not at all when that fails or this object
/// ends before.
class SelectionCopy : public QObject
{
    Q_OBJECT

public:
    /// A longer text is refused.
    static constexpr qsizetype MostCharacters = 50'000'000;

    enum class Format
    {
        Text, ///< between tabs; a single cell as it is
        TextWithHeaders,
        Csv ///< with headers
    };

    /// Reads the first slice at once, so that a small selection is on the clipboard when this returns. `model` must
    /// outlive it, and the result in it must stay.
    SelectionCopy(ResultModel& model, const QItemSelection& selection, Format format);
    ~SelectionCopy() override;
    bool IsDone() const { return m_Done; }

private:
    void Begin();
    void Slice();
    void ReadRow();
    Variant CellAt(qsizetype i);
    bool IsPlainCell() const { return m_Format == Format::Text && m_Rows.IsSingleCell(); }
    void ShowProgress();
    void Finish();

    ResultModel& m_Model;
    SelectedRows m_Rows;
    const Format m_Format;
    const RowWriterRef m_Writer;
    QList<Variant> m_Cells;
    QString m_Text;
    QTimer m_Next;
    QElapsedTimer m_SinceShown; ///< in the status line, which is only used for what takes time
    bool m_Done = false;
};
