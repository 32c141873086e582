#include "core/TextSearch.h"

QString TextSearch::FirstText() const
{
    const QString selected = m_Cursor().selectedText();
    return selected.contains(QChar::ParagraphSeparator) ? QString() : selected;
}

FindResult TextSearch::Typed(const QString& text)
{
    QTextCursor cursor = m_Cursor();
    cursor.setPosition(cursor.selectionStart());
    m_Select(cursor);
    return Find(text, false);
}

FindResult TextSearch::Find(const QString& text, bool backward)
{
    const QTextDocument::FindFlags direction = backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    QTextCursor from = m_Cursor();
    if (Select(text, from, direction)) return {FindResult::Way::Straight};
    from.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
    if (!Select(text, from, direction)) return {};
    return {backward ? FindResult::Way::FromEnd : FindResult::Way::FromStart};
}

bool TextSearch::Select(const QString& text, const QTextCursor& from, QTextDocument::FindFlags direction)
{
    const QTextCursor found = from.document()->find(text, from, direction);
    if (found.isNull()) return false;
    m_Select(found);
    return true;
}
