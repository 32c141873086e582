#pragma once

#include "server/log/Log.h"
#include "server/spool/WaitingValues.h"

/// Tells the log whether the values for a destination are written, wait or are dropped, each once; from the threads that
/// write and keep them.
class RecordingReport
{
public:
    RecordingReport(int number, std::shared_ptr<WaitingValues> waiting);

    /// In front of everything that is said of a destination.
    static QString NameOf(int destination);

    void SayWaiting(const QString& reason);
    void SayWritten();
    /// To be called now and then.
    void Look();
    /// What has not been said yet.
    void Finish();
    void Say(LogLevel level, const QString& text) const;

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds BetweenReports{60};

    void TakeDropped();
    void SayDropped();

    const int m_Number;
    const std::shared_ptr<WaitingValues> m_Waiting;
    std::mutex m_Guard;
    /// Why values are waiting; empty while they are written.
    QString m_WaitReason;
    quint64 m_Dropped = 0; ///< since values were last written
    DroppedValues m_Unreported;
    Clock::time_point m_Reported = Clock::now() - BetweenReports;
};
