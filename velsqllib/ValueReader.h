#pragma once

#include "core/automation/SafeArray.h"
#include "velsqllib/TextCursor.h"

/// Reads one value's text in a single pass. Errors give the path to the mistake: "VT_ARRAY|VT_I4: element 2: ...".
class ValueReader
{
public:
    explicit ValueReader(QStringView text);

    /// Type code, comma and value text.
    Variant ReadTyped();
    /// The value text alone.
    Variant ReadValue(VarType type);

private:
    Variant ReadPayload(VarType type);
    Variant ReadArray(VarType elementType);
    template <typename T>
    SafeArray ReadElements();
    template <typename T>
    T ReadElement();
    /// Whether another element follows.
    bool TakeComma();
    Variant ReadBraced();

    TextCursor m_Cursor;
    int m_Depth = 0;
};
