#pragma once

#include "trend/core/Pen.h"

#include <span>

/// Figures of pens as rows of a table. Hidden pens are left out.
namespace CsvFile {

inline constexpr int MostIntervals = 1'000'000;

/// Smallest, mean (weighted with time) and largest of each of so many intervals, 1 to MostIntervals; of texts the one
/// that held at the beginning. An empty cell: there was no value. Throws DescribedError.
void WriteIntervals(const QString& path, std::span<const Pen* const> pens, const Span& shown, int intervals);

} // namespace CsvFile
