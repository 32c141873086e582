#include "batchwrite/FramePacer.h"

#include <QCoreApplication>

FramePacer::FramePacer()
{
    m_NextFrame.setSingleShot(true);
    QObject::connect(&m_NextFrame, &QTimer::timeout, this, &FramePacer::PostWaiting);
    QCoreApplication::instance()->installEventFilter(this);
}

FramePacer::~FramePacer()
{
    for (Request& request : m_Requests) Post(request);
}

void FramePacer::ProcessEvents()
{
    m_LettingRun = true;
    QCoreApplication::processEvents();
    m_LettingRun = false; // also for the loop around this one: it is back here soon
}

void FramePacer::Post(Request& request)
{
    if (!std::exchange(request.IsWaiting, false) || !request.Object) return;
    QCoreApplication::postEvent(request.Object, new QEvent(request.Type));
}

/// By a timer, and not by the loop itself: a message box may stand meanwhile, and the loop wait for it.
void FramePacer::PostWaiting()
{
    m_Requests.remove_if([](const Request& request) { return !request.Object; });
    for (Request& request : m_Requests) {
        if (!request.IsWaiting) continue;
        if (request.SinceDone.elapsed() >= FrameMs) Post(request);
        else m_NextFrame.start(FrameMs);
    }
}

bool FramePacer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest && event->type() != QEvent::LayoutRequest) return false;
    Request& request = Find(watched, event->type());
    const qint64 rest = request.SinceDone.isValid() ? FrameMs - request.SinceDone.elapsed() : 0;
    request.IsWaiting = m_LettingRun && rest > 0;
    if (!request.IsWaiting) request.SinceDone.start();
    else if (!m_NextFrame.isActive()) m_NextFrame.start(static_cast<int>(rest));
    return request.IsWaiting;
}

FramePacer::Request& FramePacer::Find(QObject* object, QEvent::Type type)
{
    for (Request& request : m_Requests) {
        if (request.Object == object && request.Type == type) return request;
    }
    return m_Requests.emplace_back(Request{object, type, {}});
}
