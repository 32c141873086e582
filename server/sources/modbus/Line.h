#pragma once

#include "server/sources/modbus/Schedule.h"
#include "server/sources/modbus/Transport.h"
#include "server/worker/Worker.h"

#include <condition_variable>
#include <mutex>

/// A line with its units: a thread for each connection asks what is to be asked, one request at a time, each unit in
/// turn.
class Line
{
    /// What its threads share; they may outlive it when one hangs.
    struct Core
    {
        std::mutex Guard;
        std::condition_variable_any Changed;
        LineSettings Settings;
        Schedule Turns;
        int Connected = 0;
    };

public:
    /// The line of that place, which all devices there share as long as one of them lives. Throws DescribedError when
    /// it is there with other settings. Only for the server's loop.
    static std::shared_ptr<Line> At(const LineSettings& settings);

    explicit Line(const LineSettings& settings);
    /// Ends the threads.
    ~Line();

    const LineSettings& Settings() const;
    void Add(const UnitRef& unit);
    void Remove(const UnitRef& unit);
    /// The threads begin, unless they have begun before.
    void Start();
    /// Does something with a unit while no thread does, and then looks what there is to do. The answer is that of
    /// `action`.
    template <typename Action>
    auto With(Action action)
    {
        const std::lock_guard lock(m_Core->Guard);
        m_Core->Changed.notify_all(); // one alone might be a connection that rests
        return action();
    }

private:
    class Connection;

    std::shared_ptr<Core> m_Core;
    std::vector<Worker> m_Workers;
};
