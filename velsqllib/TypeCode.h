#pragma once

#include "core/automation/VarType.h"

#include <QString>

/// "VT_I4" or "VT_ARRAY|VT_I4", for messages; the bare code when it has no name.
QString TypeName(VarType type);

/// The code at the beginning of a typed text, with blanks allowed around it. Throws ValueError when `text` is not a
/// code, or is the code of a type whose values have no text.
VarType ReadTypeCode(QStringView text);

/// Throws ValueError when values of the type have no text.
void RequireText(VarType type);
