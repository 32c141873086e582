#include "core/LogPane.h"

#include "core/automation/Errors.h"

#include <QMimeData>
#include <QTextBlock>

#include <limits>

LogPane::LogPane(QWidget* parent)
    : QPlainTextEdit(parent)
    , m_Capacity(std::numeric_limits<int>::max())
{
    setUndoRedoEnabled(false);
}

void LogPane::Append(const QString& line)
{
    if (document()->characterCount() + line.size() > m_Capacity) throw ValueError::Overflow();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(line);
    setTextCursor(cursor);
}

QString LogPane::Text() const
{
    return toPlainText().replace(u'\n', QStringLiteral("\r\n"));
}

void LogPane::ClearText()
{
    clear();
}

QMimeData* LogPane::createMimeDataFromSelection() const
{
    return QPlainTextEdit::createMimeDataFromSelection();
}
