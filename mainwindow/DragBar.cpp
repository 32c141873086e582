#include "mainwindow/DragBar.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>

DragBar::DragBar(QWidget* parent)
    : QWidget(parent)
{
    setOrientation(Qt::Vertical);
}

void DragBar::setOrientation(Qt::Orientation orientation)
{
    m_Orientation = orientation;
    setCursor(orientation == Qt::Vertical ? Qt::SplitHCursor : Qt::SplitVCursor);
}

int DragBar::Thickness() const
{
    return std::max(5, style()->pixelMetric(QStyle::PM_SplitterWidth, nullptr, this));
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

void DragBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    option.state.setFlag(QStyle::State_Horizontal, m_Orientation == Qt::Vertical);
    style()->drawControl(QStyle::CE_Splitter, &option, &painter, this);
}
