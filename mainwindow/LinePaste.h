#pragma once

#include <QObject>

class QContextMenuEvent;
class QDropEvent;
class QKeyEvent;
class QLineEdit;
class QMouseEvent;

/// Text pasted into a single-line box ends at its first line end, whichever way it arrives: by key, from the box's own
/// menu, with the middle button or by dragging. Qt would put the line ends into the text.
class LinePaste : public QObject
{
    Q_OBJECT

public:
    explicit LinePaste(QObject* parent);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static bool KeyPressed(QLineEdit* box, const QKeyEvent& event);
    static bool MouseReleased(QLineEdit* box, const QMouseEvent& event);
    static bool Dropped(QLineEdit* box, QDropEvent& event);
    static bool MenuAsked(QLineEdit* box, const QContextMenuEvent& event);
};
