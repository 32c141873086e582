#pragma once

#include <QtGlobal>

/// An automation type code under its OLE Automation name; signed 16-bit as everywhere in this system.
using VarType = qint16;

inline constexpr VarType VT_EMPTY = 0;
inline constexpr VarType VT_NULL = 1;
inline constexpr VarType VT_I2 = 2;
inline constexpr VarType VT_I4 = 3;
inline constexpr VarType VT_R4 = 4;
inline constexpr VarType VT_R8 = 5;
inline constexpr VarType VT_CY = 6;
inline constexpr VarType VT_DATE = 7;
inline constexpr VarType VT_BSTR = 8;
inline constexpr VarType VT_DISPATCH = 9;
inline constexpr VarType VT_BOOL = 11;
inline constexpr VarType VT_VARIANT = 12; ///< only as the element type of an array
inline constexpr VarType VT_I1 = 16;
inline constexpr VarType VT_UI1 = 17;
inline constexpr VarType VT_UI2 = 18;
inline constexpr VarType VT_UI4 = 19;
inline constexpr VarType VT_ARRAY = 8192; ///< added to the element's code

/// The code of a one-dimensional array of `element`.
constexpr VarType ArrayOf(VarType element)
{
    return static_cast<VarType>(VT_ARRAY | element);
}

/// The element code of an array's code; any other code unchanged.
constexpr VarType ElementOf(VarType type)
{
    return static_cast<VarType>(type & ~VT_ARRAY);
}
