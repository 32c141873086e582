#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

/// A thread that its owner can leave behind when it hangs in somebody else's code, such as a database's client library.
/// Its work must own all that it touches.
class Worker
{
public:
    explicit Worker(std::function<void(const std::stop_token&)> work,
                    std::chrono::seconds patience = std::chrono::seconds(5));
    Worker(Worker&&) = default;
    Worker& operator=(Worker&&) = delete;
    /// Asks it to stop and waits for it as long as the patience lasts; then it is left behind.
    ~Worker();

    bool IsDone() const;
    /// The patience counts from now on: several workers asked before the first one goes are waited for together.
    void RequestStop();

    /// Whether threads were left behind: then the process must end without tidying up under them.
    static bool AnyLeftBehind();

private:
    struct Progress;

    std::shared_ptr<Progress> m_Progress;
    std::chrono::seconds m_Patience;
    std::optional<std::chrono::steady_clock::time_point> m_Deadline;
    std::jthread m_Thread;
};
