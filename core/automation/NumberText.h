#pragma once

#include <QString>

#include <optional>

/// The one reading of numbers that people type: blanks around, an optional sign, decimal digits with an optional ".", an
/// optional exponent ("E" or "e"). Never the locale, no other digits than 0 to 9, no hexadecimal, no "inf".
/// A magnitude beyond double reads as infinity.
std::optional<double> ParseNumber(QStringView text);

/// Whether the whole text is a number.
bool IsNumeric(QStringView text);

/// The number at the head of a text, 0 when it starts with none ("3abc" is 3, "abc" and "" are 0).
double ParseLeadingNumber(QStringView text);

/// The nearest 32-bit integer, halves to the even neighbour. Throws ValueError "Overflow" beyond the range.
qint32 RoundToInt32(double number);

/// Shortest decimal text that reads back as the same number; exponents like "1E+20".
QString FormatDouble(double number);

/// At most 7 significant digits, exponents like "1.677722E+07".
QString FormatSingle(float number);
