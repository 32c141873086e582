#pragma once

#include "core/Platform.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <list>

/// Lets events run for a loop that changes the display many times a frame. Meanwhile every window is laid out and
/// painted at most once a frame. What the loop itself paints is not affected.
class FramePacer : public QObject
{
public:
    /// A little more than the frame of a loop that announces its calls (modMain::Announce paints everything that is
    /// pending), so that a fast loop pays for one painting a frame instead of two.
    static constexpr int PaceMs = FrameMs + 4;

    FramePacer();
    /// Whatever is still pending is done soon.
    ~FramePacer() override;

    /// Lets pending events run. Afterwards anything but this object may be gone.
    void ProcessEvents();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// A widget to be laid out or a window to be painted: posted once, then pending until it is done.
    struct Request
    {
        QPointer<QObject> Object;
        QEvent::Type Type;
        QElapsedTimer SinceDone;
        bool IsWaiting = false;
    };

    Request& Find(QObject* object, QEvent::Type type);
    static void Post(Request& request);
    void PostWaiting();

    std::list<Request> m_Requests;
    QTimer m_NextFrame;
    bool m_LettingRun = false;
};
