#pragma once

#include "core/automation/Errors.h"

#include <QObject>
#include <QThread>

#include <memory>

/// A feed and the thread that it works on. Both end with this object; a feed that waits for a silent server is left to
/// the end of the process instead.
template <typename Feed>
class FeedThread
{
public:
    /// Throws DescribedError when there is no thread to be had.
    template <typename... Arguments>
    explicit FeedThread(Arguments&&... arguments)
        : m_Thread(new QThread)
        , m_Feed(new Feed(std::forward<Arguments>(arguments)...))
    {
        m_Feed->moveToThread(m_Thread);
        QObject::connect(m_Thread, &QThread::finished, m_Feed, &QObject::deleteLater);
        m_Thread->start();
        if (m_Thread->isRunning()) return;
        delete m_Feed;
        delete m_Thread;
        throw DescribedError(QStringLiteral("No further thread can be started."));
    }
    FeedThread(const FeedThread&) = delete;
    FeedThread& operator=(const FeedThread&) = delete;
    ~FeedThread()
    {
        constexpr unsigned long PatienceMs = 300;
        m_Feed->disconnect();
        m_Thread->quit();
        if (m_Thread->wait(PatienceMs)) delete m_Thread;
    }

    Feed* operator->() { return m_Feed; }
    Feed& operator*() { return *m_Feed; }
    /// Runs `work` with the feed on its thread.
    template <typename Work>
    void Run(Work work)
    {
        QMetaObject::invokeMethod(
            m_Feed, [feed = m_Feed, work = std::move(work)] { work(*feed); }, Qt::QueuedConnection);
    }

private:
    QThread* m_Thread;
    Feed* m_Feed;
};
