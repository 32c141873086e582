#include "server/sqlitehistory/ClockWatch.h"

#include "server/log/Log.h"
#include "server/sqlitehistory/PartitionFolder.h"

#include <QDateTime>

namespace {

using namespace std::chrono_literals;

constexpr auto LargestJump = 1h;
constexpr auto LongestPause = 24h;
constexpr auto Rest = 24h;
/// Among the positions of spools, whose numbers are odd: the second since 1970 until which the clock is not trusted.
constexpr quint64 TrustedFrom = 2;

qint64 SecondOf(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count();
}

QString HoursText(std::chrono::duration<double, std::ratio<3600>> span)
{
    return QStringLiteral("%1 hours").arg(std::abs(span.count()), 0, 'f', 1);
}

} // namespace

ClockWatch::Time ClockWatch::Time::Now()
{
    return {std::chrono::steady_clock::now(), std::chrono::system_clock::now()};
}

void ClockWatch::Begin(PartitionWriter& newest, Time now)
{
    const Chunk all = ContentsOf(newest.Chunks()).Range;
    if (all.FirstUtc > all.LastUtc) return;
    const auto pause = now.Shown.time_since_epoch() - std::chrono::microseconds(all.LastUtc);
    if (pause <= LongestPause) return; // what lies ahead of a clock is not too old for it
    Log(LogLevel::Info, QStringLiteral("The last record is %1 old, or the clock is wrong: what the history keeps by "
                                       "age (keep) is left alone for a day.")
                            .arg(HoursText(pause)));
    Distrust(newest, now);
}

bool ClockWatch::IsTrusted(PartitionWriter& newest, Time now)
{
    const auto jump = (now.Shown - m_Last.Shown) - (now.Passing - m_Last.Passing);
    m_Last = now;
    const auto until = static_cast<qint64>(newest.Written(TrustedFrom));
    const bool hasJumped = std::chrono::abs(jump) > LargestJump;
    if (hasJumped)
        Log(LogLevel::Warning, QStringLiteral("The clock has jumped by %1: what the history keeps by age (keep) is "
                                              "left alone for a day.")
                                   .arg(HoursText(jump)));
    // A day of a clock that was in the future would not end soon.
    if (hasJumped || until > SecondOf(now.Shown + Rest)) Distrust(newest, now);
    return !hasJumped && SecondOf(now.Shown) >= until;
}

void ClockWatch::Distrust(PartitionWriter& newest, Time now)
{
    SqliteTransaction transaction(newest.File());
    newest.Note({TrustedFrom, static_cast<quint64>(SecondOf(now.Shown + Rest))});
    transaction.Commit();
}
