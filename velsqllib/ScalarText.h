#pragma once

#include "core/automation/Variant.h"

/// The value of type T that a text spells: a boolean, whole number, floating-point number, amount or date. Blanks
/// around it are ignored. Throws ValueError that says what is wrong.
template <typename T>
T ReadScalar(QStringView text);

/// Appends the text from which ReadScalar makes the same value.
template <typename T>
void AppendScalar(QString& out, T value);
