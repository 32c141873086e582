#include "server/sources/modbus/Refusals.h"

#include <algorithm>

void Refusals::Learn(const Span& span, const QString& why, Clock::time_point now, Clock::duration longest)
{
    if (std::ranges::find(m_Spans, span) != m_Spans.end()) return;
    m_Spans.push_back(span);
    m_Reasons.push_back({why, now + std::min(m_Pause, longest)});
    m_HaveBeenLearnt = true;
    ++m_Version;
}

void Refusals::ForgetOver(Clock::time_point now)
{
    if (std::ranges::none_of(m_Reasons, [&](const Reason& reason) { return reason.Until <= now; })) return;
    m_Pause = std::min<Clock::duration>(2 * m_Pause, LongestPause);
    Clear();
}

void Refusals::ForgetAll()
{
    m_Pause = FirstPause;
    m_HaveBeenLearnt = false;
    if (!m_Spans.empty()) Clear();
}

void Refusals::Clear()
{
    m_Spans.clear();
    m_Reasons.clear();
    ++m_Version;
}
