#pragma once

#include "core/LinePane.h"

#include <QTimer>

/// The message log: an editable text pane whose text carries CR LF line ends, as it is copied and handed out.
class LogPane : public LinePane
{
    Q_OBJECT

public:
    explicit LogPane(QWidget* parent = nullptr);

    /// How many characters the pane takes (ends of shown lines count two); default: what the widget itself can hold.
    qint64 Capacity() const { return m_Capacity; }
    void SetCapacity(qint64 characters) { m_Capacity = characters; }

    /// Puts `line` straight behind whatever text stands there, without undo history, the caret to the end, nothing
    /// selected. The line ends inside `line` are kept as given. Throws ValueError when the pane cannot take it; it is
    /// then unchanged. The document has it within a frame of the screen, together with all others of that frame:
    /// laying out costs by the piece.
    void Append(const QString& line);
    /// Puts what was appended into the document at once. The routines below and the operator's actions do it by
    /// themselves.
    void ShowAppended();
    /// The whole text with its line ends.
    QString Text();
    /// Replaces the selection, or inserts at the caret; what does not fit is refused and changes nothing.
    void ReplaceSelection(const QString& text);
    QString SelectedText();

protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    qint64 Length() const;
    void Replace(QTextCursor cursor, const ShownText& shown);

    qint64 m_Capacity;
    ShownText m_Appended;
    QTimer m_Frame;
    bool m_Inserting = false;
};
