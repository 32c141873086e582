#include "scripttool/FindBar.h"

#include <QPlainTextEdit>

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
    const QString selected = m_Editor->textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator)) txtFind->setText(selected);
    lblFound->clear();
    show();
    txtFind->setFocus();
    txtFind->selectAll();
}

void FindBar::Close()
{
    hide();
    m_Editor->setFocus();
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
    QTextCursor cursor = m_Editor->textCursor();
    cursor.setPosition(cursor.selectionStart());
    m_Editor->setTextCursor(cursor);
    lblFound->clear();
    if (!txtFind->text().isEmpty()) FindNext();
}

void FindBar::Find(QTextDocument::FindFlags direction)
{
    if (txtFind->text().isEmpty()) return Open();
    lblFound->clear();
    if (Select(direction)) return;
    const QTextCursor before = m_Editor->textCursor();
    const bool backward = direction.testFlag(QTextDocument::FindBackward);
    m_Editor->moveCursor(backward ? QTextCursor::End : QTextCursor::Start);
    if (Select(direction))
        return lblFound->setText(backward ? QStringLiteral("Went on from the end.")
                                          : QStringLiteral("Went on from the start."));
    m_Editor->setTextCursor(before);
    lblFound->setText(QStringLiteral("Not found."));
}

bool FindBar::Select(QTextDocument::FindFlags direction)
{
    return m_Editor->find(txtFind->text(), direction);
}
