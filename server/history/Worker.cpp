#include "server/history/Worker.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace {

constexpr std::chrono::seconds Patience(5);
std::atomic<bool> s_AnyLeftBehind = false;

} // namespace

struct Worker::Progress
{
    std::mutex Guard;
    std::condition_variable Changed;
    bool Done = false;
};

Worker::Worker(std::function<void(const std::stop_token&)> work)
    : m_Progress(std::make_shared<Progress>())
    , m_Thread([work = std::move(work), progress = m_Progress](const std::stop_token& stop) mutable {
        work(stop);
        work = nullptr; // what it owned goes before the owner is told
        const std::lock_guard lock(progress->Guard);
        progress->Done = true;
        progress->Changed.notify_all();
    })
{
}

Worker::~Worker()
{
    if (!m_Thread.joinable()) return;
    m_Thread.request_stop();
    std::unique_lock lock(m_Progress->Guard);
    if (m_Progress->Changed.wait_for(lock, Patience, [this] { return m_Progress->Done; })) return;
    s_AnyLeftBehind = true;
    m_Thread.detach();
}

bool Worker::IsDone() const
{
    const std::lock_guard lock(m_Progress->Guard);
    return m_Progress->Done;
}

bool Worker::AnyLeftBehind()
{
    return s_AnyLeftBehind;
}
