#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

/// A thread that its owner can abandon when it hangs in foreign code, such as a database's client library. Its work
/// must own everything that it uses. What the work throws is logged.
class Worker
{
public:
    explicit Worker(std::function<void(const std::stop_token&)> work,
                    std::chrono::seconds patience = std::chrono::seconds(5));
    Worker(Worker&&) = default;
    Worker& operator=(Worker&&) = delete;
    /// Asks the thread to stop and waits for it until the patience runs out; then the thread is abandoned.
    ~Worker();

    bool IsDone() const { return WaitFor(std::chrono::milliseconds(0)); }
    /// Whether it is done at the end of that time at the latest.
    bool WaitFor(std::chrono::milliseconds time) const;
    /// The patience counts from now on, so that several workers that are asked before the first one is destroyed are
    /// waited for together.
    void RequestStop();

    /// Whether threads were abandoned: the process must then end without cleaning up what they use.
    static bool AnyLeftBehind();

private:
    struct Progress;

    std::shared_ptr<Progress> m_Progress;
    std::chrono::seconds m_Patience;
    std::optional<std::chrono::steady_clock::time_point> m_Deadline;
    std::jthread m_Thread;
};
