#pragma once

#include <QByteArrayView>

#include <array>

/// What item_time is sorted and searched by: the local time that the text says, in microseconds since 1970-01-01.
/// A lower text never has a higher key, whatever the text is.
struct TimeKey
{
    qint64 Local = 0;
    bool IsCanonical = false; ///< SpellTime gives the same text again
    bool IsTime = false;      ///< the text is a date, with minutes, seconds or parts of them, or without
};

TimeKey TimeKeyOf(QByteArrayView text);

using TimeText = std::array<char, 26>;

/// "2024-01-31 12:00:00.123456", for the years 0 to 9999.
TimeText SpellTime(qint64 local);

/// How far local time is ahead of UTC, in seconds, at a local time and at a moment (microseconds since 1970-01-01 UTC).
/// An hour that comes twice is taken as the first of the two.
qint32 OffsetOfLocal(qint64 local);
qint32 OffsetOfMoment(qint64 utc);

constexpr qint64 MicrosecondsASecond = 1'000'000;
