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
    // Also for an outer loop, which soon comes here again.
    m_LettingRun = false;
}

void FramePacer::Post(Request& request)
{
    if (!std::exchange(request.IsWaiting, false) || !request.Object) return;
    QCoreApplication::postEvent(request.Object, new QEvent(request.Type));
}

/// Called by a timer rather than by the loop, which may be waiting for a message box.
void FramePacer::PostWaiting()
{
    m_Requests.remove_if([](const Request& request) { return !request.Object; });
    for (Request& request : m_Requests) {
        if (!request.IsWaiting) continue;
        if (request.SinceDone.elapsed() >= PaceMs) Post(request);
        else m_NextFrame.start(PaceMs);
    }
}

bool FramePacer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::UpdateRequest && event->type() != QEvent::LayoutRequest) return false;
    Request& request = Find(watched, event->type());
    const qint64 rest = request.SinceDone.isValid() ? PaceMs - request.SinceDone.elapsed() : 0;
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
