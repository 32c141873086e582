#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace kj {
class Executor;
}

/// A small server on a thread of its own, at the far end of a real socket: an engine with the controller "PLC1", whose items "A" and
/// "B" hold whatever is written to them. The engine's Execute understands
///   "fail <text>"  fails with exactly that text
///   "sleep <ms>"   answers after that time, alive meanwhile
///   "hang <ms>"    answers at once, then the whole server stands still for that time
///   "fire <n>"     n item events and then one state event with n, to every subscriber
class WireServer
{
public:
    explicit WireServer(const QString& socketPath);
    ~WireServer();

    /// Server objects that a client still refers to.
    int LiveItems() const { return m_State->LiveItems; }
    int LiveSubscriptions() const { return m_State->LiveSubscriptions; }

    struct State
    {
        std::atomic<int> LiveItems = 0;
        std::atomic<int> LiveSubscriptions = 0;
    };

private:
    void Run(const QString& socketPath);

    std::shared_ptr<State> m_State = std::make_shared<State>();
    std::atomic<bool> m_Ready = false;
    int m_Stop[2]; // a pipe: closing its end stops the loop
    std::thread m_Thread;
};
