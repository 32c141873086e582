#pragma once

#include "trend/core/Span.h"

#include <QString>

#include <optional>

/// Moments as people type them: "2026-01-31 12:30:05.25", "2026-01-31", "12:30" (of the day of `reference`), "now", or
/// counted from `now`, such as "-2 h", "-90 min", "-1 d". Times are local; "Z" behind one makes it UTC.
/// Nothing when the text is none of these, or lies outside the years 100 to 9999.
std::optional<Micros> ReadMoment(const QString& text, Micros now, Micros reference);
