#pragma once

#include "core/LinePane.h"

#include <QTimer>

/// The message log: an editable text pane whose text has CR LF line ends when it is copied or handed out.
class LogPane : public LinePane
{
    Q_OBJECT

public:
    explicit LogPane(QWidget* parent = nullptr);

    /// How many characters the pane takes (line ends count as two); by default what the widget itself can hold.
    qint64 Capacity() const { return m_Capacity; }
    void SetCapacity(qint64 characters) { m_Capacity = characters; }

    /// Puts `line` directly behind the present text, without undo history; the caret moves to the end and nothing is
    /// selected. Line ends inside `line` are kept. Throws ValueError when the pane cannot take it; it is then
    /// unchanged. The document gets it within a frame of the screen, together with all other lines of that frame,
    /// because each layout is expensive.
    void Append(const QString& line, Kind kind = Kind::Output);
    /// Puts what was appended into the document at once. The functions below and the operator's actions do this
    /// themselves.
    void ShowAppended();
    /// The whole text with its line ends.
    QString Text();
    /// Replaces the selection, or inserts at the caret; text that does not fit is refused and changes nothing.
    void ReplaceSelection(const QString& text);
    QString SelectedText();

Q_SIGNALS:
    /// A line of the kind Error was appended.
    void ErrorAppended();

protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    qint64 Length() const;
    qint64 m_Capacity;
    QList<Part> m_Appended;
    qint64 m_AppendedLength = 0;
    QTimer m_Frame;
};
