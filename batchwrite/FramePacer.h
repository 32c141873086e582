#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <list>

/// While it lives, every window is painted at most once a frame of the screen, however often events are let run. A loop that changes
/// what is shown many times a frame pays for one painting only.
class FramePacer : public QObject
{
public:
    static constexpr qint64 FrameMs = 16;

    FramePacer();
    /// What still waits is painted soon.
    ~FramePacer() override;

    /// Lets pending events run. Anything may be gone afterwards, this object included.
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
};
