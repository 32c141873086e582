#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

#include <optional>

/// What an error message shows of a value: plain text, in quotes when it is a text and shortened when long; a type name
/// when there is no plain text.
QString Quoted(const Variant& value);

/// Converts `value` to `type`. Numbers are rounded half to even and must be in range, texts are read as the converter
/// reads value texts, arrays are converted element by element. VT_VARIANT leaves everything unchanged. Throws
/// ValueError that says which value does not fit which type and why.
Variant ConvertTo(const Variant& value, VarType type);

/// The number that a value stands for, with -1 for True and 0 for EMPTY; empty when it is not a number.
std::optional<double> NumberOf(const Variant& value);
/// As NumberOf. Throws ValueError when the value is not a number.
double ToNumber(const Variant& value);

/// Converts a number to `type`: rounded, and limited to the type's range. For signals, which must continue whatever
/// they reach. `type` is not an array.
Variant ClampTo(double number, VarType type);

/// The initial content of a typed item: 0, False, "", day 0; EMPTY for VT_VARIANT; for arrays `count` such elements.
Variant ZeroOf(VarType type, qsizetype count = 0);

/// A list of texts as the server's objects return it.
Variant TextArray(const QStringList& texts);
