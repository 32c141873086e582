#include "core/FindBar.h"

FindBar::FindBar(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    connect(txtFind, &QLineEdit::textEdited, this, &FindBar::txtFind_TextEdited);
    connect(txtFind, &QLineEdit::returnPressed, this, &FindBar::FindNext);
    connect(cmdFindNext, &QPushButton::clicked, this, &FindBar::FindNext);
    connect(cmdFindPrevious, &QPushButton::clicked, this, &FindBar::FindPrevious);
    connect(cmdFindClose, &QPushButton::clicked, this, &FindBar::Close);
}

void FindBar::Open()
{
    const QString selected = m_Cursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator)) txtFind->setText(selected);
    lblFound->clear();
    show();
    txtFind->setFocus();
    txtFind->selectAll();
}

void FindBar::Close()
{
    hide();
    m_Pane->setFocus();
}

void FindBar::FindNext()
{
    Find({});
}

void FindBar::FindPrevious()
{
    Find(QTextDocument::FindBackward);
}

/// A longer text is searched from where the shorter one was found.
void FindBar::txtFind_TextEdited()
{
    QTextCursor cursor = m_Cursor();
    cursor.setPosition(cursor.selectionStart());
    m_Select(cursor);
    lblFound->clear();
    if (!txtFind->text().isEmpty()) FindNext();
}

void FindBar::Find(QTextDocument::FindFlags direction)
{
    if (txtFind->text().isEmpty()) return Open();
    lblFound->clear();
    QTextCursor from = m_Cursor();
    if (Select(from, direction)) return;
    const bool backward = direction.testFlag(QTextDocument::FindBackward);
    from.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
    if (!Select(from, direction)) return lblFound->setText(QStringLiteral("Not found."));
    lblFound->setText(backward ? QStringLiteral("Went on from the end.") : QStringLiteral("Went on from the start."));
}

bool FindBar::Select(const QTextCursor& from, QTextDocument::FindFlags direction)
{
    const QTextCursor found = from.document()->find(txtFind->text(), from, direction);
    if (found.isNull()) return false;
    m_Select(found);
    return true;
}
