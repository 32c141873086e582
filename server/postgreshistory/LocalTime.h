#pragma once

#include "server/plant/Moment.h"

#include <QString>

/// Local times of moments, counted in microseconds since 1970 as clocks show it. The values of a scan share their
/// second at least, so what a second is locally is looked up only once.
class LocalTime
{
public:
    static qint64 Microseconds(TimeStamp time);

    qint64 Of(TimeStamp time);
    /// "2024-01-31 12:00:00.000000"; valid until the next call.
    const QString& Spell(qint64 local);

private:
    qint64 m_Second = std::numeric_limits<qint64>::min(); ///< of UTC
    qint64 m_Offset = 0;                                  ///< microseconds that local time is ahead then
    qint64 m_SpelledSecond = std::numeric_limits<qint64>::min();
    QString m_SecondText;
    QString m_Text;
};
