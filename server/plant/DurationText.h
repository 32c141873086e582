#pragma once

#include <QString>

#include <chrono>

/// Reads a length of time, a number and its unit: "0.5 s", "10 min", "2 days". Units are ms, s, min, h, and (also in the
/// plural) second, minute, hour, day, week, year (365 days). Throws ValueError for other texts, for what is not greater
/// than 0, and beyond 1000 years.
std::chrono::microseconds ReadDuration(QStringView text);
