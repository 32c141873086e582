#pragma once

#include "core/automation/Errors.h"
#include "core/automation/Variant.h"

#include <optional>
#include <type_traits>

/// Calls `visitor` with std::type_identity of the type that holds values, or array elements, of this code: the only
/// place that goes from codes to types. Throws ValueError "Type mismatch" for an array's code and for an unknown code.
template <typename Visitor>
auto VisitType(VarType type, Visitor&& visitor)
{
    switch (type) {
    case VT_EMPTY: return visitor(std::type_identity<std::monostate>());
    case VT_NULL: return visitor(std::type_identity<Null>());
    case VT_BOOL: return visitor(std::type_identity<bool>());
    case VT_I1: return visitor(std::type_identity<qint8>());
    case VT_UI1: return visitor(std::type_identity<quint8>());
    case VT_I2: return visitor(std::type_identity<qint16>());
    case VT_UI2: return visitor(std::type_identity<quint16>());
    case VT_I4: return visitor(std::type_identity<qint32>());
    case VT_UI4: return visitor(std::type_identity<quint32>());
    case VT_R4: return visitor(std::type_identity<float>());
    case VT_R8: return visitor(std::type_identity<double>());
    case VT_CY: return visitor(std::type_identity<Currency>());
    case VT_DATE: return visitor(std::type_identity<Date>());
    case VT_BSTR: return visitor(std::type_identity<QString>());
    case VT_DISPATCH: return visitor(std::type_identity<ObjectRef>());
    case VT_VARIANT: return visitor(std::type_identity<Variant>());
    default: throw ValueError::TypeMismatch();
    }
}

/// Whether arrays of this type exist.
template <typename T>
inline constexpr bool IsElementType = !std::is_same_v<T, std::monostate> && !std::is_same_v<T, Null>;

/// "I2" for VT_I2; empty for the codes of arrays and unknown codes.
QStringView BareTypeName(VarType type);

/// The number that a value stands for: -1 and 0 for booleans, days for dates. Empty optional for other values, texts
/// included.
std::optional<double> NumberIn(const Variant& value);
