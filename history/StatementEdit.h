#pragma once

#include <QPlainTextEdit>

/// The field of the SQL statement: several lines, whose line ends are kept. Its context menu also holds its actions.
class StatementEdit : public QPlainTextEdit
{
public:
    explicit StatementEdit(QWidget* parent = nullptr);

    /// The statement, unchanged to the last character: lines end with LF, and non-breaking spaces stay.
    QString Text() const;
    /// Replaces the whole statement; can be undone.
    void SetText(const QString& text);
    /// Inserts a text at the caret; a selection is not replaced.
    void InsertAtCaret(const QString& text);

    QSize sizeHint() const override;

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
};
