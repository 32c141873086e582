#pragma once

#include "trend/core/Span.h"
#include "trend/data/Rows.h"

#include <algorithm>

/// A row of what ReadRaw answers.
struct RecordedRow
{
    /// The present one.
    explicit RecordedRow(const Rows& rows);

    bool IsGood() const { return State == 0; }
    /// NaN for what is not good or no number.
    double Number() const;
    /// There are more values than were asked for: Value is the text for reading on.
    bool IsContinuation() const { return Quality == QStringLiteral("MoreData"); }
    bool IsValue() const { return Quality == QStringLiteral("Raw") || Quality == QStringLiteral("Bound"); }

    QString Item;
    Micros Time;
    Variant Value;
    double State;
    QString Quality;
};

/// As the history's functions take a time. Nothing is recorded before 1684 or after 2255: beyond that a number is not
/// exact, and is refused.
inline Variant TimeOf(Micros time)
{
    constexpr Micros Last = 9'000'000'000 * MicrosASecond;
    return Variant(static_cast<double>(std::clamp(time, -Last, Last)));
}
