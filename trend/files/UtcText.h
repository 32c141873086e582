#pragma once

#include "trend/core/Span.h"

#include <QString>

#include <optional>

/// A moment in UTC to the microsecond: "2026-11-22T10:00:00.000000Z". The end of the year 9999 is its last microsecond.
QString MomentToUtc(Micros time);
/// Also with fewer decimals or none, and with an offset instead of the Z; nothing for other texts and for years before
/// 100.
std::optional<Micros> MomentFromUtc(const QString& text);
