#pragma once

#include "core/automation/Variant.h"
#include "trend/core/Pen.h"

#include <limits>

/// A value of an item as a trend shows it.
struct Reading
{
    /// Nothing for values that say nothing of their kind: EMPTY and NULL.
    std::optional<PenKind> Kind;
    double Number = std::numeric_limits<double>::quiet_NaN(); ///< NaN when it has no height
    QString Text;                                             ///< what people read, on one line, shortened
};

Reading ReadingOf(const Variant& value);

/// The unit that an item's tag names; empty for what is no unit: a long text, or the item's own name.
QString UnitOf(const Variant& tag, const QString& item);

/// A pen for "PLC1\Level": the controller's name ends at the first backslash. Nothing when there is none.
std::optional<PenSettings> PenOf(const QString& name);

/// Microseconds since 1970 of a local date, were it UTC.
Micros AsIfUtc(Date date);
