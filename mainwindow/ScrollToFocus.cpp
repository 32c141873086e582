#include "mainwindow/ScrollToFocus.h"

#include <QApplication>
#include <QMdiArea>
#include <QScrollBar>

namespace {

/// Of what is too large for the room its beginning is shown.
void Scroll(QScrollBar* bar, int begin, int end, int room)
{
    if (end > room) bar->setValue(bar->value() + std::min(end - room, begin));
    else if (begin < 0) bar->setValue(bar->value() + begin);
}

} // namespace

ScrollToFocus::ScrollToFocus(QMdiArea* area)
    : QObject(area)
    , m_Area(area)
{
    connect(qApp, &QApplication::focusChanged, this, &ScrollToFocus::FocusChanged);
}

void ScrollToFocus::FocusChanged(QWidget* /*before*/, const QWidget* now)
{
    const QWidget* viewport = m_Area->viewport();
    if (!now || !viewport->isAncestorOf(now)) return;
    // What the mouse was pressed on stays under it.
    if (QApplication::mouseButtons() != Qt::NoButton) return;
    const QRect place(now->mapTo(viewport, QPoint()), now->size());
    Scroll(m_Area->horizontalScrollBar(), place.left(), place.right() + 1, viewport->width());
    Scroll(m_Area->verticalScrollBar(), place.top(), place.bottom() + 1, viewport->height());
}
