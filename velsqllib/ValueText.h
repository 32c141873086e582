#pragma once

#include "core/automation/Variant.h"

/// Values as texts and back, spelled as docs/server.md says. A typed text is the decimal type code, "," and the value
/// text, the bare code for EMPTY and NULL; reading what was written gives the same value to the last bit.

/// Throws ValueError with what was wrong with which text for which type.
Variant ReadTypedText(QStringView typedText);
/// Throws ValueError for what has no text: objects, dates outside the years 100 to 9999, arrays nested too deep.
QString WriteTypedText(const Variant& value);

/// The value text alone, when the type is known from elsewhere.
Variant ReadValueText(VarType type, QStringView text);
QString WriteValueText(const Variant& value);
