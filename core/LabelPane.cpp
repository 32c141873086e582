#include "core/LabelPane.h"

LabelPane::LabelPane(QWidget* parent)
    : LogPane(parent)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    setFrameShape(NoFrame);
    viewport()->setAutoFillBackground(false); // looks like a label
}

void LabelPane::SetText(const QString& text)
{
    clear();
    Append(text);
    ShowAppended();
    moveCursor(QTextCursor::Start);
}
