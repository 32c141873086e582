#pragma once

#include <QObject>

class QContextMenuEvent;
class QDropEvent;
class QKeyEvent;
class QLineEdit;
class QMouseEvent;

/// What is pasted into a single-line box ends at its first line end, whichever way it comes: by key, from the box's own
/// menu, with the middle button or dragged. Qt would put line ends into the text.
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
