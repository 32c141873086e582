#include "server/database/ClockWatch.h"

#include "server/log/Log.h"

namespace {

using namespace std::chrono_literals;

constexpr auto LargestJump = 1h;
constexpr auto LongestPause = 24h;
constexpr auto Rest = 24h;

qint64 SecondOf(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count();
}

QString HoursText(std::chrono::duration<double, std::ratio<3600>> span)
{
    return QStringLiteral("%1 hours").arg(std::abs(span.count()), 0, 'f', 1);
}

} // namespace

void ClockWatch::Begin(Memory& memory, ClockTime now)
{
    const auto last = memory.LastRecord();
    if (!last) return;
    const auto pause = now.Shown - *last;
    if (pause <= LongestPause) return; // what lies ahead of a clock is not too old for it
    Log(LogLevel::Info, QStringLiteral("The last record is %1 old, or the clock is wrong: what the history keeps by "
                                       "age (keep) is left alone for a day.")
                            .arg(HoursText(pause)));
    Distrust(memory, now);
}

bool ClockWatch::IsTrusted(Memory& memory, ClockTime now)
{
    const auto jump = now.SetSince(std::exchange(m_Last, now));
    const qint64 until = memory.TrustedFrom();
    const bool hasJumped = std::chrono::abs(jump) > LargestJump;
    if (hasJumped)
        Log(LogLevel::Warning, QStringLiteral("The clock has jumped by %1: what the history keeps by age (keep) is "
                                              "left alone for a day.")
                                   .arg(HoursText(jump)));
    // A day of a clock that was in the future would not end soon.
    if (hasJumped || until > SecondOf(now.Shown + Rest)) Distrust(memory, now);
    return !hasJumped && SecondOf(now.Shown) >= until;
}

void ClockWatch::Distrust(Memory& memory, ClockTime now)
{
    memory.SetTrustedFrom(SecondOf(now.Shown + Rest));
}
