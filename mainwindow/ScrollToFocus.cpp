#include "mainwindow/ScrollToFocus.h"

#include <QApplication>
#include <QMdiArea>
#include <QScrollBar>

namespace {

/// A control that is too large for the room stays where it is while its beginning is visible.
void Scroll(QScrollBar* bar, int begin, int end, int room)
{
    if (begin < 0 || begin >= room) bar->setValue(bar->value() + std::min(begin, std::max(0, end - room)));
    else if (end > room && end - begin <= room) bar->setValue(bar->value() + end - room);
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
    // The control under a pressed mouse button must not move away.
    if (QApplication::mouseButtons() != Qt::NoButton) return;
    const QRect place(now->mapTo(viewport, QPoint()), now->size());
    Scroll(m_Area->horizontalScrollBar(), place.left(), place.right() + 1, viewport->width());
    Scroll(m_Area->verticalScrollBar(), place.top(), place.bottom() + 1, viewport->height());
}
