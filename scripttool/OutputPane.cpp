#include "scripttool/OutputPane.h"

#include "core/DisplayText.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

namespace {

/// The printed text in a form that the document takes unchanged: control characters would be invisible, and some would
/// end lines.
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

/// The last lines of a text, as many as a pane shows; the whole text when it has fewer.
QStringView LastLines(QStringView text)
{
    int lines = 0;
    for (qsizetype i = text.size() - 1; i >= 0; --i) {
        if (text[i] == u'\n' && ++lines == OutputPane::MaxLines) return text.sliced(i + 1);
    }
    return text;
}

} // namespace

OutputPane::OutputPane(QWidget* parent)
    : LinePane(QStringLiteral("\n"), parent)
{
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
}

void OutputPane::Append(const QString& text, Kind kind)
{
    QScrollBar& bar = *verticalScrollBar();
    const bool atEnd = bar.value() == bar.maximum();
    const QString printable = Printable(text);
    const QStringView last = LastLines(printable);
    const bool isCut = last.size() < printable.size();
    if (isCut) clear();
    const QTextCursor top(firstVisibleBlock());
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    Insert(end, {{Shown(last, document()->lastBlock().length() - 1), kind}});
    DropEarlier(isCut);
    bar.setValue(atEnd ? bar.maximum() : top.block().firstLineNumber());
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
    EndAsUsual(0, 0);
    cursor.block().setUserState(stateOfKept);
}

void OutputPane::mouseDoubleClickEvent(QMouseEvent* event)
{
    LinePane::mouseDoubleClickEvent(event);
    ChooseLineAtCaret();
}

void OutputPane::keyPressEvent(QKeyEvent* event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter) ChooseLineAtCaret();
    else LinePane::keyPressEvent(event);
}

void OutputPane::ChooseLineAtCaret()
{
    Q_EMIT LineChosen(textCursor().block().text());
}
