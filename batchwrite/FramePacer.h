#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <list>

/// Lets the events of a loop run that changes what is shown many times a frame: meanwhile every window is laid out and painted at most
/// once a frame of the screen. What the loop paints itself, between two such times, is left alone.
class FramePacer : public QObject
{
public:
    /// A little more than the pace of a loop that announces its calls (modMain::Announce paints everything that waits): a fast loop
    /// pays for one painting a frame, not for two.
    static constexpr int FrameMs = 20;

    FramePacer();
    /// What still waits is done soon.
    ~FramePacer() override;

    /// Lets pending events run. Anything but this object may be gone afterwards.
    void ProcessEvents();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// That a widget is to be laid out, or a window to be painted. It is asked once and taken for standing until it is done.
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
