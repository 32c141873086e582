#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

#include <optional>

/// What an error message shows of a value: plain text, in quotes when it is a text and cut when long; a type name when
/// it has no text.
QString Quoted(const Variant& value);

/// `value` as a value of `type`. Numbers are rounded half to even and must be in range, texts are read as the converter
/// reads value texts, arrays are converted element by element. VT_VARIANT leaves everything as it is. Throws ValueError
/// with a text that says which value does not fit which type and why.
Variant ConvertTo(const Variant& value, VarType type);

/// The number that a value stands for, True being -1 and EMPTY 0; none for what is not a number.
std::optional<double> NumberOf(const Variant& value);
/// As NumberOf. Throws ValueError for what is not a number.
double ToNumber(const Variant& value);

/// A number as a value of `type`: rounded, and at the ends of the type's range where it lies beyond. For signals, which
/// must go on whatever they reach. `type` is not an array.
Variant ClampTo(double number, VarType type);

/// The initial content of a typed item: 0, False, "", day 0; EMPTY for VT_VARIANT; `count` elements of it for arrays.
Variant ZeroOf(VarType type, qsizetype count = 0);

/// A list of texts as the server's objects hand it out.
Variant TextArray(const QStringList& texts);
