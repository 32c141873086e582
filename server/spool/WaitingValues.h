#pragma once

#include "server/spool/Spool.h"
#include "server/spool/ValueInbox.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <stop_token>

/// The values that wait to be written to one destination, in order: filled by the event loop, emptied by the writer.
/// They wait in memory for a moment only, where the end of the process does not reach them; what its database has not
/// taken by then waits in the spool.
class WaitingValues
{
public:
    using Clock = std::chrono::steady_clock;

    /// Memory that they take at most, also while the disk is full: beyond it the oldest are dropped.
    static constexpr qint64 MostBytes = 48 * 1024 * 1024;
    /// A batch for the writer.
    static constexpr std::size_t LargestBatch = 5000;

    /// `name` stands in front of what is said in the log; the rest as Spool has it.
    WaitingValues(QString name, const SpoolSettings& settings, const QString& destination, Durability surviving);

    /// Where values are safe from the end of the process. Before the first of them is added; Keep tries it again.
    void MakeShelter();
    /// Never waits for a disk or a database.
    void Add(RecordedValue value);

    // What the writer does.

    /// The oldest values, which go on waiting until they are Written; empty when told to stop and nothing waits in
    /// memory. Throws as SpoolSegment::Read.
    SpoolBatch Next(const std::stop_token& stop);
    void Written(SpoolPosition position);
    /// Waits for as long as the database is given time to come back.
    void Pause(const std::stop_token& stop);
    /// See Spool.
    Spool& OnDisk() { return m_Spool; }

    /// What another thread does all the time: puts on disk what has waited too long in memory; at the end everything.
    /// `onLook` is called about twenty times a second while values wait.
    void Keep(const std::stop_token& stop, const std::function<void()>& onLook);

    bool WaitUntilWritten(std::chrono::milliseconds longest);
    /// In memory only, so that the end of the process would lose them.
    quint64 CountInMemory();
    DroppedValues TakeDropped();
    /// How long the writer has been busy with one batch; 0 while it waits for values or pauses.
    std::chrono::milliseconds BusyFor() const;

private:
    quint64 End() const { return m_First + m_Values.size(); } ///< behind the last sequence
    bool IsOnDisk() const { return m_First > m_Written + 1; }
    void Collect();
    static void Sleep(std::chrono::milliseconds time, const std::stop_token& stop);
    void DropFront();
    void MakeRoom();
    SpoolBatch BatchFromMemory();
    bool KeepSome(quint64 end);
    void SayIfLate(Clock::duration unsafe);
    void SayProblem(const QString& problem);

    const QString m_Name;
    Spool m_Spool;
    ValueInbox m_Inbox;
    mutable std::mutex m_Guard;
    std::condition_variable_any m_Emptied;
    std::deque<RecordedValue> m_Values;
    quint64 m_First = 1; ///< sequence of the first of m_Values
    qint64 m_Bytes = 0;
    quint64 m_Kept = 0;    ///< up to there they have been put on disk
    quint64 m_Taken = 0;   ///< up to there the writer has them
    quint64 m_Written = 0; ///< up to there they have been written
    DroppedValues m_Dropped;
    std::optional<Clock::time_point> m_BusySince;
    QString m_Problem; ///< with the disk; empty while there is none
    Clock::time_point m_ProblemAt;
    Clock::time_point m_NextComplaint;
    Clock::time_point m_NextShelter;
    QString m_NoShelter; ///< why there is none
};
