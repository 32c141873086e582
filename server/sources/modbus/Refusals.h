#pragma once

#include "server/sources/modbus/ReadPlan.h"

#include <QString>

#include <chrono>

/// What a unit is known to refuse, and until when it is not asked for that. The first time is short, because units
/// refuse everything while they start; each further one is twice as long, at last an hour.
class Refusals
{
public:
    using Clock = std::chrono::steady_clock;

    /// A request that holds one of them whole is refused.
    const std::vector<Span>& Spans() const { return m_Spans; }
    const QString& Why(std::size_t span) const { return m_Reasons[span].Why; }
    /// Another one whenever the spans are others.
    quint64 Version() const { return m_Version; }

    /// Since the last new connection.
    bool HaveBeenLearnt() const { return m_HaveBeenLearnt; }

    /// It is not asked for this, at most for so long.
    void Learn(const Span& span, const QString& why, Clock::time_point now, Clock::duration longest);
    /// As soon as one is to be asked for again all are, because what is refused around it may be another span then.
    void ForgetOver(Clock::time_point now);
    /// There is a new connection, and whatever was refused may be there now.
    void ForgetAll();

private:
    static constexpr std::chrono::seconds FirstPause{10};
    static constexpr std::chrono::hours LongestPause{1};
    struct Reason
    {
        QString Why;
        Clock::time_point Until;
    };
    void Clear();

    std::vector<Span> m_Spans;
    std::vector<Reason> m_Reasons; ///< of the spans
    Clock::duration m_Pause = FirstPause;
    bool m_HaveBeenLearnt = false;
    quint64 m_Version = 1;
};
