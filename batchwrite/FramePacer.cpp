#include "batchwrite/FramePacer.h"

#include <QCoreApplication>
#include <QEvent>

FramePacer::FramePacer()
{
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
    PostWaiting();
    QCoreApplication::processEvents();
}

/// A window asks once and takes the request for standing until it has painted: one held back is made again when its frame has come.
void FramePacer::PostWaiting()
{
    m_Windows.remove_if([](const Window& window) { return !window.Object; });
    for (Window& window : m_Windows) {
        if (!window.IsWaiting || window.SincePainted.elapsed() < FrameMs) continue;
        window.IsWaiting = false;
        QCoreApplication::postEvent(window.Object, new QEvent(QEvent::UpdateRequest));
    }
}

bool FramePacer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest) return false;
    Window& window = Find(watched);
    window.IsWaiting = window.SincePainted.isValid() && window.SincePainted.elapsed() < FrameMs;
    if (!window.IsWaiting) window.SincePainted.start();
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
