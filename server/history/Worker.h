#pragma once

#include <functional>
#include <memory>
#include <thread>

/// A thread that its owner can leave behind when it hangs in somebody else's code, such as a database's client library. Its work
/// must own all that it touches.
class Worker
{
public:
    explicit Worker(std::function<void(const std::stop_token&)> work);
    Worker(Worker&&) = default;
    Worker& operator=(Worker&&) = delete;
    /// Asks it to stop and waits some seconds for it; then it is left behind.
    ~Worker();

    bool IsDone() const;
    void RequestStop() { m_Thread.request_stop(); }

    /// Whether threads were left behind: then the process must end without tidying up under them.
    static bool AnyLeftBehind();

private:
    struct Progress;

    std::shared_ptr<Progress> m_Progress;
    std::jthread m_Thread;
};
