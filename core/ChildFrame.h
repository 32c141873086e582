#pragma once

#include <QMdiSubWindow>

/// The frame of a child window: it knows the place that it goes back to, and Escape takes back what keys have moved.
class ChildFrame : public QMdiSubWindow
{
    Q_OBJECT

public:
    explicit ChildFrame(QWidget* parent);

    /// The place of a maximised frame when it is maximised no longer, else the place where it stands.
    QRect Place() const { return isMaximized() ? m_Normal : geometry(); }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void NotePlace();

    QRect m_Normal;
    /// When an entry of the system menu was chosen.
    QRect m_BeforeEntry;
};
