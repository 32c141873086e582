#pragma once

#include <QPlainTextEdit>

/// The message log: an editable text pane whose text carries CR LF line ends, as it is copied and handed out.
class LogPane : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit LogPane(QWidget* parent = nullptr);

    /// How many characters the pane takes (line ends count two); default: what the widget itself can hold.
    qint64 Capacity() const { return m_Capacity; }
    void SetCapacity(qint64 characters) { m_Capacity = characters; }

    /// Puts `line` straight behind whatever text stands there, without undo history, the caret to the end, nothing selected.
    /// The line ends inside `line` are kept as given. Throws ValueError when the pane cannot take it; it is then unchanged.
    void Append(const QString& line);
    /// The whole text with its line ends.
    QString Text() const;
    void ClearText();

protected:
    QMimeData* createMimeDataFromSelection() const override;

private:
    qint64 m_Capacity;
};
