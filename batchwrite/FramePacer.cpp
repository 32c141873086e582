#include "batchwrite/FramePacer.h"

#include <QCoreApplication>
#include <QEvent>

FramePacer::FramePacer()
{
    m_NextFrame.setSingleShot(true);
    QObject::connect(&m_NextFrame, &QTimer::timeout, this, &FramePacer::PostWaiting);
    QCoreApplication::instance()->installEventFilter(this);
}

FramePacer::~FramePacer()
{
    for (const Window& window : m_Windows) {
        if (window.IsWaiting && window.Object)
            QCoreApplication::postEvent(window.Object, new QEvent(QEvent::UpdateRequest));
    }
}

void FramePacer::ProcessEvents()
{
    m_LettingRun = true;
    QCoreApplication::processEvents();
    m_LettingRun = false; // also for the loop around this one: it is back here soon
}

/// By a timer, and not by the loop itself: a message box may stand meanwhile, and the loop wait for it.
void FramePacer::PostWaiting()
{
    m_Windows.remove_if([](const Window& window) { return !window.Object; });
    for (Window& window : m_Windows) {
        if (!window.IsWaiting) continue;
        if (window.SincePainted.elapsed() < FrameMs) {
            m_NextFrame.start(FrameMs);
            continue;
        }
        window.IsWaiting = false;
        QCoreApplication::postEvent(window.Object, new QEvent(QEvent::UpdateRequest));
    }
}

bool FramePacer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest) return false;
    Window& window = Find(watched);
    window.IsWaiting = m_LettingRun && window.SincePainted.isValid() && window.SincePainted.elapsed() < FrameMs;
    if (!window.IsWaiting) window.SincePainted.start();
    else if (!m_NextFrame.isActive()) m_NextFrame.start(FrameMs - static_cast<int>(window.SincePainted.elapsed()));
    return window.IsWaiting;
}

FramePacer::Window& FramePacer::Find(QObject* object)
{
    for (Window& window : m_Windows) {
        if (window.Object == object) return window;
    }
    m_Windows.emplace_back().Object = object;
    return m_Windows.back();
}
