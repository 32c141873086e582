#pragma once

#include "server/sources/modbus/Line.h"

/// One connection of a line, and the thread that serves it.
class Line::Connection
{
public:
    Connection(std::shared_ptr<Core> core, const std::stop_token& stop);
    ~Connection();

    /// Until a stop is requested.
    void Run();

private:
    using Clock = Unit::Clock;
    using Step = Schedule::Step;

    std::optional<Step> Next();
    Clock::time_point NextTime() const;
    void Do(Step& step);
    void DoRead(Step& step);
    void DoWrite(Step& step);
    void DoTrial(Step& step);
    /// Under the line's lock: what came of a step that has failed for good.
    void Fail(Step& step, const ModbusError& error, Clock::duration cost);
    void FailLine(const ModbusError& error);

    bool AnswersOthers(const Step& step);
    /// Under the line's lock, as Fail.
    void NoteSilence(const Step& step, const ModbusError& error, Clock::duration cost);
    Pdu Ask(const Step& step, const Pdu& request, bool repeats = true);
    Pdu AskOnce(const Step& step, const Pdu& request);
    void Connect();
    void Disconnect();

    const std::shared_ptr<Core> m_Core;
    const std::stop_token m_Stop;
    const std::unique_ptr<Transport> m_Transport;
    bool m_IsCounted = false;
    bool m_IsFresh = false;         ///< a connection of which the units do not know yet
    int m_Silences = 0;             ///< in a row, of whichever units
    Clock::time_point m_RestsUntil; ///< a further connection that the device does not take
};
