#include "core/LogPane.h"

#include "core/automation/Errors.h"
#include "core/Platform.h"

#include <QMimeData>
#include <QResizeEvent>
#include <QScopeGuard>

#include <limits>

namespace {

/// The operator's actions apply to everything appended so far; painting does not wait for it.
bool ActsOnText(const QEvent& event)
{
    return event.isInputEvent() || event.type() == QEvent::InputMethod || event.type() == QEvent::Drop ||
           event.type() == QEvent::Resize;
}

} // namespace

LogPane::LogPane(QWidget* parent)
    : LinePane(QStringLiteral("\r\n"), parent)
    , m_Capacity(std::numeric_limits<int>::max())
{
    m_Frame.setSingleShot(true);
    m_Frame.setInterval(FrameMs);
    connect(&m_Frame, &QTimer::timeout, this, &LogPane::ShowAppended);
    connect(document(), &QTextDocument::contentsChange, this, [this](int position, int /*removed*/, int added) {
        // Text that the operator edits reads as it is shown.
        if (!IsInserting()) EndAsUsual(position, added);
    });
}

qint64 LogPane::Length() const
{
    // The document counts one character for the end of each block, the last one included.
    return qint64{document()->characterCount()} + document()->blockCount() - 2 + m_AppendedLength;
}

void LogPane::Append(const QString& line, Kind kind)
{
    const ShownText shown = Shown(line);
    if (Length() + shown.Length() > m_Capacity) throw ValueError::Overflow();
    if (m_Appended.isEmpty() || m_Appended.constLast().What != kind) m_Appended.append({{}, kind});
    m_Appended.last().Shown.Add(shown);
    m_AppendedLength += shown.Length();
    if (!m_Frame.isActive()) m_Frame.start();
    if (kind == Kind::Error) Q_EMIT ErrorAppended();
}

void LogPane::ShowAppended()
{
    m_Frame.stop();
    const QList<Part> appended = std::exchange(m_Appended, {});
    m_AppendedLength = 0;
    if (appended.isEmpty()) return;
    // Scrolling would first move pixels, most of which are then painted over.
    viewport()->setUpdatesEnabled(false);
    const auto paintLater = qScopeGuard([this] { viewport()->setUpdatesEnabled(true); });
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    Insert(end, appended);
    setTextCursor(end);
}

void LogPane::ReplaceSelection(const QString& text)
{
    ShowAppended();
    const ShownText shown = Shown(text);
    if (Length() + shown.Length() > m_Capacity) return;
    QTextCursor cursor = textCursor();
    Insert(cursor, {{shown}});
    setTextCursor(cursor);
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

bool LogPane::event(QEvent* event)
{
    if (ActsOnText(*event)) ShowAppended();
    // What the operator types is no error, also behind one.
    const bool mayType = event->type() == QEvent::KeyPress || event->type() == QEvent::InputMethod;
    if (mayType && !textCursor().hasSelection()) setCurrentCharFormat({});
    return LinePane::event(event);
}

bool LogPane::viewportEvent(QEvent* event)
{
    if (ActsOnText(*event)) ShowAppended();
    return LinePane::viewportEvent(event);
}

void LogPane::insertFromMimeData(const QMimeData* source)
{
    if (source->hasText()) ReplaceSelection(source->text());
}

void LogPane::resizeEvent(QResizeEvent* event)
{
    const bool caretInSight = QRect(QPoint(), event->oldSize()).intersects(cursorRect());
    LinePane::resizeEvent(event);
    if (caretInSight) ensureCursorVisible();
}
