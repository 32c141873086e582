#include "history/StatementEdit.h"

#include <QContextMenuEvent>
#include <QMenu>

StatementEdit::StatementEdit(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setTabChangesFocus(true);
}

QString StatementEdit::Text() const
{
    QString text = document()->toRawText();
    return text.replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
}

void StatementEdit::SetText(const QString& text)
{
    QTextCursor whole(document());
    whole.select(QTextCursor::Document);
    whole.insertText(text);
}

void StatementEdit::InsertAtCaret(const QString& text)
{
    QTextCursor caret(document());
    caret.setPosition(textCursor().position());
    caret.insertText(text);
}

QSize StatementEdit::sizeHint() const
{
    const QSize letters(40 * fontMetrics().averageCharWidth(), 4 * fontMetrics().lineSpacing());
    return letters.grownBy(QMargins() + static_cast<int>(document()->documentMargin()) + frameWidth());
}

void StatementEdit::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu(event->pos());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addSeparator();
    menu->addActions(actions());
    menu->popup(event->globalPos());
}
