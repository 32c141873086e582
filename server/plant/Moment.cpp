#include "server/plant/Moment.h"

#include "core/automation/PlainText.h"

Date ToLocalDate(TimeStamp time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch());
    return FromDateTime(QDateTime::fromSecsSinceEpoch(seconds.count()));
}

qint32 MicrosecondsOf(TimeStamp time)
{
    const auto sinceEpoch = time.time_since_epoch();
    const auto rest = sinceEpoch - std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    return static_cast<qint32>(std::chrono::duration_cast<std::chrono::microseconds>(rest).count());
}
