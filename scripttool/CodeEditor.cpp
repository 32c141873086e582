#include "scripttool/CodeEditor.h"

#include "core/automation/Errors.h"
#include "core/Colours.h"
#include "scripttool/ScriptHighlighter.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QTextBlock>

#include <algorithm>

namespace {

QString WithLineFeeds(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (const QChar end : {QChar(u'\r'), QChar(QChar::LineSeparator), QChar(QChar::ParagraphSeparator)})
        text.replace(end, u'\n');
    return text;
}

QStringView Indentation(QStringView line)
{
    return line.first(std::find_if_not(line.begin(), line.end(), [](QChar c) { return c.isSpace(); }) - line.begin());
}

QTextEdit::ExtraSelection LineMark(QTextCursor cursor, const QColor& ground)
{
    cursor.clearSelection();
    QTextEdit::ExtraSelection mark{cursor, {}};
    mark.format.setBackground(ground);
    mark.format.setProperty(QTextFormat::FullWidthSelection, true);
    return mark;
}

} // namespace

/// The column to the left of the text.
class CodeEditor::LineNumbers : public QWidget
{
public:
    explicit LineNumbers(CodeEditor* editor)
        : QWidget(editor)
        , m_Editor(editor)
    {
    }

    int Width() const
    {
        const auto digits = QString::number(m_Editor->blockCount()).size();
        return m_Editor->fontMetrics().horizontalAdvance(u'9') * static_cast<int>(std::max<qsizetype>(digits, 3) + 2);
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPainter painter(this);
        m_Editor->PaintLineNumbers(painter, event->rect());
    }

private:
    CodeEditor* m_Editor;
};

CodeEditor::CodeEditor(QWidget* parent)
    : QPlainTextEdit(parent)
    , m_LineNumbers(new LineNumbers(this))
    , m_Highlighter(new ScriptHighlighter(document()))
{
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setLineWrapMode(NoWrap);
    connect(this, &QPlainTextEdit::blockCountChanged, this, &CodeEditor::PlaceLineNumbers);
    connect(this, &QPlainTextEdit::updateRequest, this, &CodeEditor::UpdateLineNumbers);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &CodeEditor::MarkLines);
    FitToFont();
    m_Highlighter->SetColours(palette());
    MarkLines();
}

QString CodeEditor::Script() const
{
    // The plain text would lose non-breaking spaces.
    return document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
}

void CodeEditor::SetScript(const QString& script)
{
    const QString text = WithLineFeeds(script);
    CheckLength(text, document()->characterCount(), 0);
    ClearError();
    setPlainText(text);
}

void CodeEditor::GoToLine(int line)
{
    const QTextBlock block = document()->findBlockByNumber(line - 1);
    if (!block.isValid()) return;
    setTextCursor(QTextCursor(block));
    centerCursor();
}

void CodeEditor::MarkError(int line)
{
    const QTextBlock block = document()->findBlockByNumber(line - 1);
    m_Error = block.isValid() ? QTextCursor(block) : QTextCursor();
    MarkLines();
}

void CodeEditor::ClearError()
{
    m_Error = QTextCursor();
    MarkLines();
}

/// Throws when the script would become too long; `besides` is the length of the line that the text joins.
void CodeEditor::CheckLength(const QString& added, qsizetype removed, qsizetype besides) const
{
    if (document()->characterCount() + added.size() - removed > MaxCharacters)
        throw DescribedError(QStringLiteral("The text is too long: a script has at most 1,048,576 characters."));
    for (const QStringView line : QStringTokenizer(added, u'\n')) {
        if (line.size() + besides > MaxLineLength)
            throw DescribedError(QStringLiteral("The text is too long: a line has at most 32,768 characters."));
    }
}

void CodeEditor::insertFromMimeData(const QMimeData* source)
{
    if (!source->hasText()) return;
    const QString text = WithLineFeeds(source->text());
    QTextCursor cursor = textCursor();
    try {
        CheckLength(text, cursor.selectedText().size(), cursor.block().length());
    } catch (const DescribedError& error) {
        return Q_EMIT Refused(error.Description());
    }
    cursor.insertText(text);
    setTextCursor(cursor);
    ensureCursorVisible();
}

void CodeEditor::keyPressEvent(QKeyEvent* event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isPlain = modifiers == Qt::NoModifier || modifiers == Qt::ShiftModifier;
    switch (isPlain ? event->key() : 0) {
    case Qt::Key_Return:
    case Qt::Key_Enter: return BreakLine();
    case Qt::Key_Tab: return SelectsSeveralLines() ? IndentLines(true) : InsertTab();
    case Qt::Key_Backtab: return IndentLines(false);
    default: return QPlainTextEdit::keyPressEvent(event);
    }
}

void CodeEditor::BreakLine()
{
    QTextCursor cursor = textCursor();
    const QTextBlock block = document()->findBlock(cursor.selectionStart());
    const QString before = block.text().left(cursor.selectionStart() - block.position());
    cursor.insertText(u'\n' + Indentation(before).toString());
    setTextCursor(cursor);
    ensureCursorVisible();
}

void CodeEditor::InsertTab()
{
    QTextCursor cursor = textCursor();
    const int column = cursor.selectionStart() - document()->findBlock(cursor.selectionStart()).position();
    cursor.insertText(QString(IndentWidth - column % IndentWidth, u' '));
    setTextCursor(cursor);
    ensureCursorVisible();
}

bool CodeEditor::SelectsSeveralLines() const
{
    const QTextCursor cursor = textCursor();
    return document()->findBlock(cursor.selectionStart()) != document()->findBlock(cursor.selectionEnd());
}

void CodeEditor::IndentLines(bool deeper)
{
    QTextCursor cursor = textCursor();
    QTextBlock block = document()->findBlock(cursor.selectionStart());
    // A line of which only the beginning is selected does not count.
    const QTextBlock last = document()->findBlock(cursor.selectionEnd() - (SelectsSeveralLines() ? 1 : 0));
    cursor.beginEditBlock();
    for (; block.isValid() && block.position() <= last.position(); block = block.next()) {
        const QString line = block.text();
        const auto blanks = line.startsWith(u'\t') ? 1 : std::min<qsizetype>(Indentation(line).size(), IndentWidth);
        cursor.setPosition(block.position());
        if (!deeper) cursor.setPosition(block.position() + static_cast<int>(blanks), QTextCursor::KeepAnchor);
        if (!deeper) cursor.removeSelectedText();
        else if (!line.isEmpty()) cursor.insertText(QString(IndentWidth, u' '));
    }
    cursor.endEditBlock();
}

void CodeEditor::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    PlaceLineNumbers();
}

void CodeEditor::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange) FitToFont();
    if (event->type() != QEvent::PaletteChange) return;
    m_Highlighter->SetColours(palette());
    MarkLines();
}

void CodeEditor::FitToFont()
{
    setTabStopDistance(fontMetrics().horizontalAdvance(u' ') * IndentWidth);
    PlaceLineNumbers();
}

void CodeEditor::PlaceLineNumbers()
{
    const QRect inside = contentsRect();
    setViewportMargins(m_LineNumbers->Width(), 0, 0, 0);
    m_LineNumbers->setGeometry(inside.x(), inside.y(), m_LineNumbers->Width(), viewport()->height());
}

void CodeEditor::UpdateLineNumbers(const QRect& rect, int dy)
{
    if (dy != 0) m_LineNumbers->scroll(0, dy);
    else m_LineNumbers->update(0, rect.y(), m_LineNumbers->width(), rect.height());
}

void CodeEditor::PaintLineNumbers(QPainter& painter, const QRect& rect)
{
    const QColor ink = palette().color(QPalette::Text);
    const QTextBlock errorBlock = m_Error.isNull() ? QTextBlock() : m_Error.block();
    painter.fillRect(rect, Colours::OnBase(palette(), ink, 0.06));
    painter.setFont(font());
    const int width = m_LineNumbers->width() - fontMetrics().horizontalAdvance(u'9');
    QRectF place = blockBoundingGeometry(firstVisibleBlock()).translated(contentOffset());
    for (QTextBlock block = firstVisibleBlock(); block.isValid() && place.top() <= rect.bottom();
         block = block.next()) {
        const bool isCurrent = block == textCursor().block();
        painter.setPen(block == errorBlock ? Colours::Error(palette())
                                           : Colours::OnBase(palette(), ink, isCurrent ? 1.0 : 0.6));
        painter.drawText(QRectF(0, place.top(), width, place.height()), Qt::AlignRight | Qt::AlignTop,
                         QString::number(block.blockNumber() + 1));
        place.moveTop(place.top() + blockBoundingRect(block).height());
    }
}

void CodeEditor::MarkLines()
{
    QList<QTextEdit::ExtraSelection> marks;
    marks << LineMark(textCursor(), Colours::OnBase(palette(), palette().color(QPalette::Highlight), 0.10));
    if (!m_Error.isNull()) marks << LineMark(m_Error, Colours::OnBase(palette(), Colours::Error(palette()), 0.22));
    setExtraSelections(marks);
    m_LineNumbers->update();
}
