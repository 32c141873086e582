#pragma once

#include "server/sources/modbus/Refusals.h"
#include "server/sources/modbus/UnitListener.h"
#include "server/sources/modbus/UnitSettings.h"
#include "server/sources/modbus/WriteJob.h"

#include <deque>

/// How much a unit has been asked, and how it went.
struct UnitCounts
{
    quint64 Requests = 0;
    quint64 Silences = 0;
    quint64 Others = 0; ///< other failures
    qint64 Refused = 0; ///< spans that are not asked for at present
};

/// One unit of a line: what it is to be asked, and what is known of it. The line's lock guards it.
class Unit
{
public:
    using Clock = std::chrono::steady_clock;

    Unit(UnitSettings settings, std::shared_ptr<UnitListener> listener);

    const UnitSettings& Settings() const { return m_Settings; }
    UnitCounts Counts() const;
    bool IsReachable() const { return m_IsReachable; }
    const QString& Trouble() const { return m_Trouble; }

    /// Jobs that cannot be done at present fail at once.
    void Add(quint64 number, const ReadGroupRef& group, Clock::time_point now);
    void Add(WriteJob job, Clock::time_point now);
    /// Whether it is to be asked on without being told: then it is tried again and again while it is not reachable.
    void SetWanted(bool isWanted) { m_IsWanted = isWanted; }
    bool IsWanted() const { return m_IsWanted; }

    bool HasWrite() const { return !m_Writes.empty(); }
    bool HasRead() const { return !m_Reads.empty() && Clock::now() >= m_RestsUntil; }
    WriteJob TakeWrite();
    /// The job whose turn it is; it waits for its next turn as long as there is something left to ask.
    std::shared_ptr<ReadJob> TakeRead();
    void Queue(const std::shared_ptr<ReadJob>& job);
    /// When it is to be tried again; none while it is reachable or not wanted.
    std::optional<Clock::time_point> TryAt() const;
    /// When there will be something to do without it being told; none when there will not.
    std::optional<Clock::time_point> WakesAt() const;
    void Postpone(Clock::time_point tryAt) { m_TryAt = tryAt; }
    /// What it is asked to see whether it answers; none: a connection is enough.
    std::optional<Span> TrySpan() const { return m_TrySpan; }

    /// It has answered, whatever it was.
    void NoteAnswer();
    void NoteRequest() { ++m_Counts.Requests; }
    void NoteFailure(const ModbusError& error);
    /// It has answered with what is none so often that nothing is to be hoped for.
    bool IsGarbling() const;
    void Take(ReadJob& job, const ReadJob::Request& request, std::span<const quint16> registers);
    /// It has refused a request of a job, or answered it with what is no answer.
    void NoteRefusal(ReadJob& job, const ReadJob::Request& request, const ModbusError& error);
    /// It has not answered a request of a job, but does answer others: what it is silent about is left out as well. It
    /// is not read before `restsUntil`, so that this does not cost its line too much.
    void NoteSilence(ReadJob& job, const ReadJob::Request& request, const QString& why, Clock::time_point restsUntil);
    void NoteWritten(quint64 number, const QString& failure) { m_Listener->NoteWritten(number, failure); }
    /// It does not answer: everything fails that it was asked, and it is left alone for a while. `least`: no shorter
    /// than this; `longest` bounds how far the pause grows beyond it.
    void GoDown(const QString& why, Clock::time_point now, Clock::duration least, Clock::duration longest);
    /// There is a new connection: what was refused may be there now.
    void ForgetRefusals() { m_Refusals.ForgetAll(); }
    /// Tells what a job has brought, at once or a little later.
    void Report(const std::shared_ptr<ReadJob>& job, Clock::time_point now);

private:
    bool TakesJobs(Clock::time_point now);
    void Plan(ReadGroup& group, Clock::time_point now);
    void Learn(const Span& span, const QString& why, Clock::duration longest);

    const UnitSettings m_Settings;
    const std::shared_ptr<UnitListener> m_Listener;
    std::deque<WriteJob> m_Writes;
    std::deque<std::shared_ptr<ReadJob>> m_Reads;
    bool m_IsWanted = false;
    bool m_IsReachable = true;
    bool m_IsTried = false; ///< by a job, because it may be reachable again
    QString m_Trouble;      ///< why it is not reachable, or was not
    Clock::time_point m_TryAt;
    Clock::duration m_Pause{};
    std::optional<Span> m_TrySpan;
    int m_Garbled = 0; ///< answers in a row that were none
    Refusals m_Refusals;
    std::optional<Span> m_SilentAbout; ///< what it did not answer the last time,
    int m_SilencesAbout = 0;           ///< and how often in a row
    Clock::time_point m_RestsUntil;
    Clock::time_point m_Reported;
    UnitCounts m_Counts;
};
using UnitRef = std::shared_ptr<Unit>;
