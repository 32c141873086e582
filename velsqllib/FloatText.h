#pragma once

#include <QString>

/// Reads a float or double: a number, or "Infinity", "-Infinity", "Inf", "NaN" in any case. Throws ValueError,
/// "overflow" for a magnitude beyond the type.
template <typename T>
T ReadFloat(QStringView text);

/// The shortest text that reads back as the same number. Every NaN keeps its bits: "NaN" is the usual one, "-NaN" the
/// same with its sign set, and others show their payload, as in "NaN(1)".
template <typename T>
QString WriteFloat(T number);
