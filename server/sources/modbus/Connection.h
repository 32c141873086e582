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
    /// What is to be done next, for a unit: a writing, a request of a job, or else a trial whether it answers.
    struct Step
    {
        UnitRef For;
        std::optional<WriteJob> Write = {};
        std::shared_ptr<ReadJob> Job = {};
        ReadJob::Request Request = {};
        std::optional<Span> Trial = {};
    };

    std::optional<Step> Next();
    std::optional<Step> NextTrial(Clock::time_point now);
    Clock::time_point NextTime() const;
    UnitRef NextUnit(bool (Unit::*has)() const);
    void Do(Step& step);
    void DoRead(Step& step);
    void DoWrite(Step& step);
    void DoTrial(Step& step);
    /// Under the line's lock: what came of a step that has failed for good.
    void Fail(Step& step, const ModbusError& error, Clock::duration cost);
    void FailLine(const ModbusError& error);
    bool IsAlone(const UnitRef& unit) const;

    void WriteRegisters(const Step& step);
    void WriteBit(const Step& step);
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
