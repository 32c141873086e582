#pragma once

#include "core/automation/Variant.h"

/// The text of a single value of type T: a boolean, whole number, floating-point number, amount or date. Blanks
/// around are no part of it. Throws ValueError with what is wrong.
template <typename T>
T ReadScalar(QStringView text);

/// Appends the text from which ReadScalar makes the same value.
template <typename T>
void AppendScalar(QString& out, T value);
