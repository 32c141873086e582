#include "scripttool/OutputPane.h"

#include "scripttool/Colours.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

namespace {

constexpr int IsError = QTextFormat::UserProperty;
/// State of a block that ends only on the screen: its line continues in the next block.
constexpr int GoesOn = 1;

bool IsLineEnd(QChar c)
{
    return c == u'\n' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

/// What a script prints as text that the document takes unchanged: control characters would be invisible, and some
/// would end lines.
QString Printable(QString text)
{
    text.remove(u'\r');
    for (QChar& c : text) {
        if (IsLineEnd(c)) c = u'\n';
        else if ((c.unicode() < u' ' && c != u'\t') || c == u'\u007F' || (c >= u'\uFDD0' && c <= u'\uFDEF'))
            c = QChar::ReplacementCharacter;
    }
    return text;
}

/// The last lines of a text, as many as a pane shows; all of it when it has fewer.
QStringView LastLines(QStringView text)
{
    int lines = 0;
    for (qsizetype i = text.size() - 1; i >= 0; --i) {
        if (text[i] == u'\n' && ++lines == OutputPane::MaxLines) return text.sliced(i + 1);
    }
    return text;
}

QTextCharFormat FormatOf(OutputPane::Kind kind, const QPalette& palette)
{
    QTextCharFormat format;
    if (kind == OutputPane::Kind::Output) return format;
    format.setProperty(IsError, true);
    format.setForeground(Colours::Error(palette));
    return format;
}

} // namespace

OutputPane::OutputPane(QWidget* parent)
    : QPlainTextEdit(parent)
{
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
}

void OutputPane::Append(const QString& text, Kind kind)
{
    QScrollBar& bar = *verticalScrollBar();
    const bool atEnd = bar.value() == bar.maximum();
    const QString printable = Printable(text);
    const QStringView last = LastLines(printable);
    const bool isCut = last.size() < printable.size();
    if (isCut) Clear();
    const QTextCursor top(firstVisibleBlock());
    Insert(last, kind);
    DropEarlier(isCut);
    bar.setValue(atEnd ? bar.maximum() : top.block().firstLineNumber());
}

void OutputPane::Insert(QStringView text, Kind kind)
{
    QString shown;
    shown.reserve(text.size() + text.size() / LongestShownLine + 1);
    QList<int> broken;
    int block = blockCount() - 1;
    for (const QChar c : text) {
        if (c == u'\n') {
            m_LineLength = 0;
            ++block;
        } else if (++m_LineLength > LongestShownLine && !c.isLowSurrogate()) {
            m_LineLength = 1;
            broken << block++;
            shown += u'\n';
        }
        shown += c;
    }
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(shown, FormatOf(kind, palette()));
    for (const int number : broken) document()->findBlockByNumber(number).setUserState(GoesOn);
}

void OutputPane::DropEarlier(bool someAlready)
{
    const int lines = std::max(blockCount() - MaxLines, 0);
    const int characters = std::max(document()->characterCount() - MaxCharacters, 0);
    if (lines == 0 && characters == 0 && !someAlready) return;
    const QTextBlock overBound = document()->findBlock(characters);
    const int keptFrom = std::max(lines, overBound.blockNumber() + (overBound.position() < characters ? 1 : 0));
    const QTextBlock kept = document()->findBlockByNumber(std::min(keptFrom, blockCount() - 1));
    const int stateOfKept = kept.userState();
    QTextCursor cursor(document());
    cursor.setPosition(kept.position(), QTextCursor::KeepAnchor);
    cursor.insertText(QStringLiteral("(Earlier output was dropped.)\n"), QTextCharFormat());
    document()->firstBlock().setUserState(-1);
    cursor.block().setUserState(stateOfKept);
}

void OutputPane::Clear()
{
    clear();
    m_LineLength = 0;
}

QString OutputPane::TextBetween(int start, int end) const
{
    QString text;
    for (QTextBlock block = document()->findBlock(start); block.isValid() && block.position() <= end;
         block = block.next()) {
        const int endOfBlock = block.position() + block.length() - 1;
        const int from = std::max(start - block.position(), 0);
        text += QStringView(block.text()).sliced(from, std::min(end, endOfBlock) - block.position() - from);
        if (endOfBlock < end && block.userState() != GoesOn) text += u'\n';
    }
    return text;
}

QMimeData* OutputPane::createMimeDataFromSelection() const
{
    auto* data = new QMimeData;
    data->setText(TextBetween(textCursor().selectionStart(), textCursor().selectionEnd()));
    return data;
}

void OutputPane::mouseDoubleClickEvent(QMouseEvent* event)
{
    QPlainTextEdit::mouseDoubleClickEvent(event);
    ChooseLineAtCaret();
}

void OutputPane::keyPressEvent(QKeyEvent* event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter) ChooseLineAtCaret();
    else QPlainTextEdit::keyPressEvent(event);
}

void OutputPane::ChooseLineAtCaret()
{
    Q_EMIT LineChosen(textCursor().block().text());
}

void OutputPane::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) ColourErrors();
}

/// Text printed earlier follows the desktop's colours, too.
void OutputPane::ColourErrors()
{
    QList<std::pair<int, int>> errors;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            if (!fragment.charFormat().hasProperty(IsError)) continue;
            errors.append({fragment.position(), fragment.position() + fragment.length()});
        }
    }
    QTextCursor cursor(document());
    for (const auto& [start, end] : errors) {
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        cursor.setCharFormat(FormatOf(Kind::Error, palette()));
    }
}
