#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <list>

/// Lets the events of a loop run that changes what is shown many times a frame: meanwhile every window is painted at most once a frame of
/// the screen. What the loop paints itself, between two such times, is left alone.
class FramePacer : public QObject
{
public:
    /// A little more than the pace of a loop that announces its calls (modMain::Announce paints everything that waits): a fast loop
    /// pays for one painting a frame, not for two.
    static constexpr int FrameMs = 20;

    FramePacer();
    /// What still waits is painted soon.
    ~FramePacer() override;

    /// Lets pending events run. Anything but this object may be gone afterwards.
    void ProcessEvents();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Window
    {
        QPointer<QObject> Object;
        QElapsedTimer SincePainted;
        bool IsWaiting = false;
    };

    Window& Find(QObject* window);
    void PostWaiting();

    std::list<Window> m_Windows;
    QTimer m_NextFrame;
    bool m_LettingRun = false;
};
