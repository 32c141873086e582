#include "mainwindow/DragBar.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>

DragBar::DragBar(QWidget* parent)
    : QWidget(parent)
{
    setOrientation(Qt::Vertical);
    setFocusPolicy(Qt::TabFocus);
}

void DragBar::setOrientation(Qt::Orientation orientation)
{
    m_Orientation = orientation;
    setCursor(orientation == Qt::Vertical ? Qt::SplitHCursor : Qt::SplitVCursor);
}

int DragBar::Thickness() const
{
    return std::max(fontMetrics().height() / 3, style()->pixelMetric(QStyle::PM_SplitterWidth, nullptr, this));
}

void DragBar::mousePressEvent(QMouseEvent* event)
{
    m_Dragging = true;
    event->accept();
}

void DragBar::mouseMoveEvent(QMouseEvent* event)
{
    if (m_Dragging) Q_EMIT MouseMove(event->position().toPoint());
}

void DragBar::mouseReleaseEvent(QMouseEvent* event)
{
    m_Dragging = false;
    event->accept();
}

/// By one row of text.
void DragBar::keyPressEvent(QKeyEvent* event)
{
    const bool isUpright = m_Orientation == Qt::Vertical;
    const int step = fontMetrics().height();
    const QPoint move = isUpright ? QPoint(step, 0) : QPoint(0, step);
    if (event->key() == (isUpright ? Qt::Key_Left : Qt::Key_Up)) Q_EMIT MouseMove(-move);
    else if (event->key() == (isUpright ? Qt::Key_Right : Qt::Key_Down)) Q_EMIT MouseMove(move);
    else QWidget::keyPressEvent(event);
}

void DragBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    option.state.setFlag(QStyle::State_Horizontal, m_Orientation == Qt::Vertical);
    if (hasFocus()) painter.fillRect(rect(), palette().brush(QPalette::Highlight));
    style()->drawControl(QStyle::CE_Splitter, &option, &painter, this);
}
