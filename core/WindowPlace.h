#pragma once

#include <QList>
#include <QRect>

class QWidget;

/// What a new window's place depends on.
struct WindowRoom
{
    /// Of the area, whose top left corner is the origin.
    QSize Size;
    /// Of the windows' titles.
    int TitleHeight;
    /// Of the windows that are there, the frontmost first.
    QList<QRect> Taken;
};

/// The top left corner at which a window of the size covers the others least: beside them if there is room, else so
/// that titles stay in sight and no window disappears behind it; the topmost, then the leftmost of equal places.
/// A window larger than the area begins where the area does. The same windows always give the same place.
QPoint LeastCoveringPlace(const WindowRoom& room, const QSize& size);

/// Makes a window of its own as large as wanted, unless its screen, or its parent's, leaves less inside a window
/// manager's frame. The controls of a dialog that cannot be that small are scrolled.
void SetFirstSize(QWidget& window, const QSize& wanted);
