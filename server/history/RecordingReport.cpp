#include "server/history/RecordingReport.h"

namespace {

constexpr std::chrono::seconds LongestSilence{5};

} // namespace

RecordingReport::RecordingReport(int number, std::shared_ptr<WaitingValues> waiting)
    : m_Number(number)
    , m_Waiting(std::move(waiting))
{
}

QString RecordingReport::NameOf(int destination)
{
    return QStringLiteral("History destination %1: ").arg(destination);
}

void RecordingReport::SayWaiting(const QString& reason)
{
    const std::lock_guard lock(m_Guard);
    if (m_WaitReason.isEmpty()) m_Dropped = 0;
    if (std::exchange(m_WaitReason, reason) != reason) Say(LogLevel::Error, QStringLiteral("Values wait: ") + reason);
}

void RecordingReport::SayWritten()
{
    const std::lock_guard lock(m_Guard);
    if (m_WaitReason.isEmpty()) return;
    TakeDropped();
    SayDropped();
    Say(LogLevel::Info, QStringLiteral("Values are written again; %1 were dropped meanwhile.").arg(m_Dropped));
    m_WaitReason.clear();
    m_Dropped = 0;
}

void RecordingReport::Look()
{
    if (m_Waiting->BusyFor() > LongestSilence)
        SayWaiting(QStringLiteral("the database has not answered for %1 seconds.").arg(LongestSilence.count()));
    const std::lock_guard lock(m_Guard);
    TakeDropped();
    if (Clock::now() - m_Reported > BetweenReports) SayDropped();
}

void RecordingReport::Finish()
{
    const std::lock_guard lock(m_Guard);
    TakeDropped();
    SayDropped();
}

void RecordingReport::Say(LogLevel level, const QString& text) const
{
    Log(level, NameOf(m_Number) + text);
}

void RecordingReport::TakeDropped()
{
    const DroppedValues dropped = m_Waiting->TakeDropped();
    m_Dropped += dropped.Count;
    m_Unreported.Add(dropped.Count, dropped.Begin, dropped.End);
}

void RecordingReport::SayDropped()
{
    if (m_Unreported.Count == 0) return;
    Say(LogLevel::Warning,
        QStringLiteral("Too many values wait: the oldest are dropped, %1.").arg(m_Unreported.Text()));
    m_Unreported = {};
    m_Reported = Clock::now();
}
