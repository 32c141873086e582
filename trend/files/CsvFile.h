#pragma once

#include "trend/core/Pen.h"

#include <span>

/// Values of pens as rows (RFC 4180, UTF-8): the time as clocks here show it and in UTC, then a column for each pen.
/// Hidden pens are left out. All functions throw DescribedError.
namespace CsvFile {

/// Each value that is known of the span, values of the same time in one row; the first row says what held at the span's
/// beginning. An empty cell: no value came then; NaN: the state was not good.
void WriteValues(const QString& path, std::span<const Pen* const> pens, const Span& shown);

inline constexpr int MostIntervals = 1'000'000;

/// Smallest, mean (weighted with time) and largest of each of so many intervals, 1 to MostIntervals; of texts the one
/// that held at the beginning. An empty cell: there was no value.
void WriteIntervals(const QString& path, std::span<const Pen* const> pens, const Span& shown, int intervals);

} // namespace CsvFile
