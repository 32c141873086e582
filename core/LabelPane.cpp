#include "core/LabelPane.h"

LabelPane::LabelPane(QWidget* parent)
    : LogPane(parent)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    setFrameShape(NoFrame);
    document()->setDocumentMargin(0);         // its text begins where a label's does
    viewport()->setAutoFillBackground(false); // looks like a label
}

void LabelPane::SetText(const QString& text)
{
    clear();
    Append(text);
    ShowAppended();
    moveCursor(QTextCursor::Start);
}
