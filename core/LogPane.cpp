#include "core/LogPane.h"

#include "core/automation/Errors.h"
#include "core/Platform.h"

#include <QMimeData>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScopeGuard>
#include <QTextBlock>

#include <algorithm>
#include <limits>

namespace {

// How a shown line ends stands in its block's user state: one of these two, or the character that ended it.
constexpr int CrLf = -1;      // what a block starts with
constexpr int ShownBreak = 0; // only shown: in the text nothing stands here

/// The characters that the document itself takes for the end of a line.
bool IsLineEnd(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator || c == u'\uFDD0' || c == u'\uFDD1';
}

QString EndText(int end)
{
    if (end == CrLf) return QStringLiteral("\r\n");
    return end == ShownBreak ? QString() : QString(QChar(end));
}

/// What the operator does to the pane is done to all that was appended; painting, above all, does not wait for it.
bool ActsOnText(const QEvent& event)
{
    return event.isInputEvent() || event.type() == QEvent::InputMethod || event.type() == QEvent::Drop ||
           event.type() == QEvent::Resize;
}

/// How much of a long line is shown on one line; a surrogate pair is not torn.
qsizetype ShownPart(QStringView line)
{
    return LogPane::LongestShownLine - (line[LogPane::LongestShownLine - 1].isHighSurrogate() ? 1 : 0);
}

} // namespace

LogPane::ShownText::ShownText(QStringView text)
{
    Lines.reserve(text.size());
    while (true) {
        const auto end = std::find_if(text.begin(), text.end(), IsLineEnd) - text.begin();
        AddLine(text.first(end));
        if (end == text.size()) return;
        const bool crLf = text.sliced(end).startsWith(u"\r\n");
        End(crLf ? CrLf : text[end].unicode());
        text = text.sliced(end + (crLf ? 2 : 1));
    }
}

void LogPane::ShownText::Add(const ShownText& other)
{
    Lines += other.Lines;
    Ends += other.Ends;
}

void LogPane::ShownText::AddLine(QStringView line)
{
    while (line.size() > LongestShownLine) {
        const qsizetype part = ShownPart(line);
        Lines += line.first(part);
        End(ShownBreak);
        line = line.sliced(part);
    }
    Lines += line;
}

void LogPane::ShownText::End(int how)
{
    Lines += u'\n';
    Ends.append(how);
}

LogPane::LogPane(QWidget* parent)
    : QPlainTextEdit(parent)
    , m_Capacity(std::numeric_limits<int>::max())
{
    setUndoRedoEnabled(false);
    m_Frame.setSingleShot(true);
    m_Frame.setInterval(FrameMs);
    connect(&m_Frame, &QTimer::timeout, this, &LogPane::ShowAppended);
    connect(document(), &QTextDocument::contentsChange, this,
            [this](int position, int /*removed*/, int added) { ShowEndsOfEditedLines(position, added); });
}

qint64 LogPane::Length() const
{
    // The document counts one character for the end of each block, the last one included.
    return qint64{document()->characterCount()} + document()->blockCount() - 2 + m_Appended.Length();
}

void LogPane::Append(const QString& line)
{
    const ShownText shown(line);
    if (Length() + shown.Length() > m_Capacity) throw ValueError::Overflow();
    m_Appended.Add(shown);
    if (!m_Frame.isActive()) m_Frame.start();
}

void LogPane::ShowAppended()
{
    m_Frame.stop();
    const ShownText shown = std::exchange(m_Appended, {});
    if (shown.Length() == 0) return;
    // Scrolling would move the pixels first, only to have most of them painted over.
    viewport()->setUpdatesEnabled(false);
    const auto paintLater = qScopeGuard([this] { viewport()->setUpdatesEnabled(true); });
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    Insert(end, shown);
    setTextCursor(end);
}

void LogPane::ReplaceSelection(const QString& text)
{
    ShowAppended();
    const ShownText shown(text);
    if (Length() + shown.Length() > m_Capacity) return;
    QTextCursor cursor = textCursor();
    Insert(cursor, shown);
    setTextCursor(cursor);
}

void LogPane::Insert(QTextCursor& cursor, const ShownText& shown)
{
    const QScopedValueRollback inserting(m_Inserting, true);
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    const int start = cursor.position();
    const int endOfRest = cursor.block().userState();
    cursor.insertText(shown.Lines);
    QTextBlock block = document()->findBlock(start);
    for (const int end : shown.Ends) {
        block.setUserState(end);
        block = block.next();
    }
    block.setUserState(endOfRest);
    cursor.endEditBlock();
}

QString LogPane::Text()
{
    ShowAppended();
    return TextBetween(0, document()->characterCount() - 1);
}

QString LogPane::SelectedText()
{
    ShowAppended();
    return TextBetween(textCursor().selectionStart(), textCursor().selectionEnd());
}

QString LogPane::TextBetween(int start, int end) const
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

/// What the operator edits reads as it is shown, whatever ended its lines before.
void LogPane::ShowEndsOfEditedLines(int position, int charsAdded)
{
    if (m_Inserting) return;
    for (QTextBlock block = document()->findBlock(position);
         block.isValid() && block.position() <= position + charsAdded; block = block.next())
        block.setUserState(CrLf);
}

bool LogPane::event(QEvent* event)
{
    if (ActsOnText(*event)) ShowAppended();
    return QPlainTextEdit::event(event);
}

bool LogPane::viewportEvent(QEvent* event)
{
    if (ActsOnText(*event)) ShowAppended();
    return QPlainTextEdit::viewportEvent(event);
}

QMimeData* LogPane::createMimeDataFromSelection() const
{
    auto* data = new QMimeData;
    data->setText(TextBetween(textCursor().selectionStart(), textCursor().selectionEnd()));
    return data;
}

void LogPane::insertFromMimeData(const QMimeData* source)
{
    if (source->hasText()) ReplaceSelection(source->text());
}

void LogPane::resizeEvent(QResizeEvent* event)
{
    const bool caretInSight = QRect(QPoint(), event->oldSize()).intersects(cursorRect());
    QPlainTextEdit::resizeEvent(event);
    if (caretInSight) ensureCursorVisible();
}
