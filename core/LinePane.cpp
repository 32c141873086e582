#include "core/LinePane.h"

#include "core/Colours.h"

#include <QMimeData>
#include <QScopedValueRollback>
#include <QTextBlock>

#include <algorithm>

namespace {

// The user state of a block tells how its line ends: one of these two, or the character that ended it.
constexpr int UsualEnd = -1;  // the state of a new block
constexpr int ShownBreak = 0; // exists on the screen only, not in the text

constexpr int IsError = QTextFormat::UserProperty;

/// The characters that the document itself treats as the end of a line.
bool EndsBlock(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator || c == u'\uFDD0' || c == u'\uFDD1';
}

/// How many characters, of at most `room`, go on a line; a surrogate pair is not split.
qsizetype ShownPart(QStringView line, qsizetype room)
{
    return room > 0 && line[room - 1].isHighSurrogate() ? room - 1 : room;
}

} // namespace

LinePane::ShownText::ShownText(QStringView text, const QString& usualEnd, qsizetype used)
    : m_Used(used)
{
    Lines.reserve(text.size());
    while (true) {
        const auto end = std::find_if(text.begin(), text.end(), EndsBlock) - text.begin();
        AddLine(text.first(end));
        if (end == text.size()) return;
        const bool isUsual = text.sliced(end).startsWith(usualEnd);
        End(isUsual ? UsualEnd : text[end].unicode());
        text = text.sliced(end + (isUsual ? usualEnd.size() : 1));
    }
}

void LinePane::ShownText::Add(const ShownText& other)
{
    Lines += other.Lines;
    Ends += other.Ends;
}

void LinePane::ShownText::AddLine(QStringView line)
{
    while (line.size() > LongestShownLine - m_Used) {
        const qsizetype part = ShownPart(line, LongestShownLine - m_Used);
        Lines += line.first(part);
        End(ShownBreak);
        line = line.sliced(part);
    }
    Lines += line;
    m_Used += line.size();
}

void LinePane::ShownText::End(int how)
{
    Lines += u'\n';
    Ends.append(how);
    m_Used = 0;
}

LinePane::LinePane(QString usualEnd, QWidget* parent)
    : QPlainTextEdit(parent)
    , m_UsualEnd(std::move(usualEnd))
{
    setUndoRedoEnabled(false);
}

void LinePane::Insert(QTextCursor& cursor, const QList<Part>& parts)
{
    const QScopedValueRollback inserting(m_Inserting, true);
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    for (const Part& part : parts) InsertPart(cursor, part);
    cursor.endEditBlock();
}

void LinePane::InsertPart(QTextCursor& cursor, const Part& part) const
{
    const int start = cursor.position();
    const int endOfRest = cursor.block().userState();
    InsertLines(cursor, part.Shown.Lines, part.What);
    QTextBlock block = document()->findBlock(start);
    for (const int end : part.Shown.Ends) {
        block.setUserState(end);
        block = block.next();
    }
    block.setUserState(endOfRest);
}

/// The end of the last line stays plain: what is written behind it would take its colour.
void LinePane::InsertLines(QTextCursor& cursor, const QString& lines, Kind kind) const
{
    const bool endsApart = kind == Kind::Error && lines.endsWith(u'\n');
    cursor.insertText(endsApart ? lines.chopped(1) : lines, FormatOf(kind));
    if (endsApart) cursor.insertText(QStringLiteral("\n"), QTextCharFormat());
}

QTextCharFormat LinePane::FormatOf(Kind kind) const
{
    QTextCharFormat format;
    if (kind == Kind::Output) return format;
    format.setProperty(IsError, true);
    format.setForeground(Colours::Error(palette()));
    return format;
}

void LinePane::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) ColourErrors();
}

/// Earlier text follows the desktop's colours, too.
void LinePane::ColourErrors()
{
    QList<std::pair<int, int>> errors;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            if (!fragment.charFormat().hasProperty(IsError)) continue;
            errors.append({fragment.position(), fragment.position() + fragment.length()});
        }
    }
    if (errors.isEmpty()) return;
    const QScopedValueRollback inserting(m_Inserting, true);
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (const auto& [start, end] : errors) {
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        cursor.setCharFormat(FormatOf(Kind::Error));
    }
    cursor.endEditBlock();
}

void LinePane::EndAsUsual(int position, int length)
{
    for (QTextBlock block = document()->findBlock(position); block.isValid() && block.position() <= position + length;
         block = block.next())
        block.setUserState(UsualEnd);
}

QString LinePane::EndText(int end) const
{
    if (end == UsualEnd) return m_UsualEnd;
    return end == ShownBreak ? QString() : QString(QChar(end));
}

QString LinePane::TextBetween(int start, int end) const
{
    QString text;
    text.reserve(end - start);
    for (QTextBlock block = document()->findBlock(start); block.isValid() && block.position() <= end;
         block = block.next()) {
        const int endOfBlock = block.position() + block.length() - 1;
        const int from = std::max(start - block.position(), 0);
        text += QStringView(block.text()).sliced(from, std::min(end, endOfBlock) - block.position() - from);
        if (endOfBlock < end) text += EndText(block.userState());
    }
    return text;
}

QMimeData* LinePane::createMimeDataFromSelection() const
{
    auto* data = new QMimeData;
    data->setText(TextBetween(textCursor().selectionStart(), textCursor().selectionEnd()));
    return data;
}
