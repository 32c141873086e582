#include "core/ChildFrame.h"

#include <QKeyEvent>
#include <QMenu>

ChildFrame::ChildFrame(QWidget* parent)
    : QMdiSubWindow(parent)
{
    connect(systemMenu(), &QMenu::triggered, this, [this] { m_BeforeEntry = geometry(); });
}

void ChildFrame::keyPressEvent(QKeyEvent* event)
{
    // The frame has the mouse while keys move or resize it, which Qt ends in the same way for Escape and Enter.
    const bool isTakenBack = event->key() == Qt::Key_Escape && mouseGrabber() == this;
    QMdiSubWindow::keyPressEvent(event);
    if (isTakenBack) setGeometry(m_BeforeEntry);
}

void ChildFrame::moveEvent(QMoveEvent* event)
{
    QMdiSubWindow::moveEvent(event);
    NotePlace();
}

void ChildFrame::resizeEvent(QResizeEvent* event)
{
    QMdiSubWindow::resizeEvent(event);
    NotePlace();
}

void ChildFrame::NotePlace()
{
    if (!isMaximized() && !isMinimized()) m_Normal = geometry();
}
