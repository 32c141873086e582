#pragma once

#include "core/automation/VarType.h"

#include <QString>

/// "VT_I4", "VT_ARRAY|VT_I4", for messages; the bare code when it has no name.
QString TypeName(VarType type);

/// The code at the head of a typed text, blanks around it allowed. Throws ValueError when `text` is not one, or is
/// that of a type whose values have no text.
VarType ReadTypeCode(QStringView text);

/// Throws ValueError when values of the type have no text.
void RequireText(VarType type);
