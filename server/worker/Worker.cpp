#include "server/worker/Worker.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace {

std::atomic<bool> s_AnyLeftBehind = false;

} // namespace

struct Worker::Progress
{
    std::mutex Guard;
    std::condition_variable Changed;
    bool Done = false;
};

Worker::Worker(std::function<void(const std::stop_token&)> work, std::chrono::seconds patience)
    : m_Progress(std::make_shared<Progress>())
    , m_Patience(patience)
    , m_Thread([work = std::move(work), progress = m_Progress](const std::stop_token& stop) mutable {
        try {
            work(stop);
        } catch (...) { // otherwise it would end the process
            Log(LogLevel::Error, QStringLiteral("A part of the server has failed, and works again after a restart: ") +
                                     CurrentErrorDescription());
        }
        // Its objects are released before the owner is told.
        work = nullptr;
        const std::lock_guard lock(progress->Guard);
        progress->Done = true;
        progress->Changed.notify_all();
    })
{
}

Worker::~Worker()
{
    if (!m_Thread.joinable()) return;
    RequestStop();
    std::unique_lock lock(m_Progress->Guard);
    if (m_Progress->Changed.wait_until(lock, *m_Deadline, [this] { return m_Progress->Done; })) return;
    s_AnyLeftBehind = true;
    m_Thread.detach();
}

void Worker::RequestStop()
{
    if (!m_Deadline) m_Deadline = std::chrono::steady_clock::now() + m_Patience;
    m_Thread.request_stop();
}

bool Worker::WaitFor(std::chrono::milliseconds time) const
{
    std::unique_lock lock(m_Progress->Guard);
    return m_Progress->Changed.wait_for(lock, time, [this] { return m_Progress->Done; });
}

bool Worker::AnyLeftBehind()
{
    return s_AnyLeftBehind;
}
