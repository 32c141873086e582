#pragma once

#include "core/automation/Variant.h"

/// Values as texts and back, spelled as docs/server.md describes. A typed text is the decimal type code, "," and the
/// value text, or just the code for EMPTY and NULL; reading it back gives the same value to the last bit.

/// Throws ValueError that says what is wrong with which text for which type.
Variant ReadTypedText(QStringView typedText);
/// Throws ValueError for values without a text: objects, dates outside the years 100 to 9999, arrays nested too deep.
QString WriteTypedText(const Variant& value);

/// The value text alone, when the type is known otherwise.
Variant ReadValueText(VarType type, QStringView text);
QString WriteValueText(const Variant& value);
