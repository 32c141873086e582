#pragma once

#include <QString>

#include <optional>

/// The only parser of numbers that people type: blanks around, an optional sign, decimal digits with an optional ".",
/// an optional exponent ("E" or "e"). It ignores the locale and takes no digits but 0 to 9, no hexadecimal and no
/// "inf". A magnitude beyond double becomes infinity, one below it 0.
std::optional<double> ParseNumber(QStringView text);

/// The same for the nearest single, rounded once: by way of a double it could be the neighbour.
std::optional<float> ParseSingle(QStringView text);

/// Whether the whole text is a number.
bool IsNumeric(QStringView text);

/// How many characters at the beginning of `text` make up a number, without blanks; 0 when there is none.
qsizetype NumberLength(QStringView text);

/// `text` without the spaces and tabs around it.
QStringView WithoutOuterBlanks(QStringView text);

/// The number at the beginning of a text, or 0 when there is none ("3abc" is 3, "abc" and "" are 0).
double ParseLeadingNumber(QStringView text);

/// The nearest 32-bit integer, halves to the even neighbour. Throws ValueError "Overflow" beyond the range.
qint32 RoundToInt32(double number);

/// Shortest decimal text that reads back as the same number; exponents like "1E+20" from 1E+15 on and below 0.0001.
/// "Infinity", "-Infinity" and "NaN" for values that are not numbers.
QString FormatDouble(double number);

/// At most 7 significant digits, exponents like "1.677722E+07" from 1E+07 on and below 0.0001.
QString FormatSingle(float number);

/// As FormatSingle, with up to 9 digits, as many as it takes to read back as the same single.
QString FormatSingleExactly(float number);
