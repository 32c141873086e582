#pragma once

#include "server/sources/Source.h"

#include <kj/async.h>

#include <mutex>

/// Brings what threads have to tell to the server's loop.
class LoopInbox : public Loop, private kj::TaskSet::ErrorHandler
{
public:
    LoopInbox();
    void Post(std::function<void()> action) override;

private:
    kj::Promise<void> Serve();
    void taskFailed(kj::Exception&& exception) override;

    std::mutex m_Guard;
    std::vector<std::function<void()>> m_Waiting;
    /// Wakes the loop up; null while it is awake.
    kj::Own<kj::CrossThreadPromiseFulfiller<void>> m_Wake;
    kj::TaskSet m_Tasks;
};
