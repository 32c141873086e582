#pragma once

#include "trend/core/Span.h"

#include <QString>

/// A moment as the clocks here show it: "2026-11-22 10:00:00", with as many of three or six decimals as it has at
/// least, and at least `decimals` (0, 3 or 6).
QString MomentText(Micros time, int decimals = 0);

/// So many decimals of a second tell the pixels of a picture apart.
int DecimalsFor(const Span& shown);

/// How long something lasts, in two or three of the largest units: "1 d 2 h 5 min", "3.25 s", "40 µs".
QString DurationText(Micros duration);

/// "2026-11-22 10:00:00 - 11:00:00"; the second day only where it is another.
QString SpanText(const Span& span);
