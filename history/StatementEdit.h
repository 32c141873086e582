#pragma once

#include <QPlainTextEdit>

/// The field of the SQL statement: several lines, whose ends are kept. Its actions stand in its context menu too.
class StatementEdit : public QPlainTextEdit
{
public:
    explicit StatementEdit(QWidget* parent = nullptr);

    /// The statement to the last character: lines end with LF, blanks that do not break stay such.
    QString Text() const;
    /// Replaces the whole statement; can be undone.
    void SetText(const QString& text);
    /// Puts a text in at the caret; a selection stays.
    void InsertAtCaret(const QString& text);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
};
