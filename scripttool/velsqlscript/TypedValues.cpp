#include "scripttool/velsqlscript/TypedValues.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/automation/ValueTypes.h"
#include "velsqllib/TypeCode.h"
#include "velsqllib/ValueText.h"

#include <cmath>
#include <optional>

namespace {

constexpr std::array<VarType, 14> NameableTypes = {VT_BOOL, VT_I1, VT_UI1, VT_I2,   VT_UI2,  VT_I4,       VT_UI4,
                                                   VT_R4,   VT_R8, VT_CY,  VT_DATE, VT_BSTR, VT_DISPATCH, VT_VARIANT};

/// Rounded once: by way of its decimal text it could become the neighbour.
std::optional<float> SingleFrom(double number)
{
    const auto single = static_cast<float>(number);
    if (std::isfinite(number) && !std::isfinite(single)) return std::nullopt;
    return single;
}

Variant TypedNumber(VarType type, double number)
{
    if (type == VT_R8) return number;
    if (type == VT_R4) {
        if (const auto single = SingleFrom(number)) return *single;
    }
    return ReadValueText(type, FormatDouble(number));
}

template <typename T>
Variant ArrayOfType(VarType type, const QList<Variant>& elements, qint32 lowerBound)
{
    QList<T> list;
    list.reserve(elements.size());
    for (qsizetype i = 0; i < elements.size(); ++i) {
        try {
            if constexpr (std::is_same_v<T, Variant>) list.append(elements[i]);
            else list.append(MakeTyped(type, elements[i]).Get<T>());
        } catch (const ValueError& error) {
            throw ValueError(QStringLiteral("element %1: %2").arg(i + 1).arg(error.Description()));
        }
    }
    return SafeArray(std::move(list), lowerBound);
}

} // namespace

QString NameOfType(VarType type)
{
    return TypeName(type).remove(QStringLiteral("VT_"));
}

QStringList MakeableTypes()
{
    QStringList names;
    for (const VarType type : NameableTypes) {
        if (type != VT_VARIANT) names.append(NameOfType(type));
    }
    return names;
}

VarType TypeNamed(const QString& name)
{
    for (const VarType type : NameableTypes) {
        if (NameOfType(type) == name) return type;
    }
    throw ValueError(QStringLiteral("\"%1\" is not a type such as \"I2\"").arg(name));
}

Variant MakeTyped(VarType type, const Variant& plain)
{
    if (plain.Type() == type) return plain;
    if (type == VT_DISPATCH && plain.IsNull()) return ObjectRef();
    if (type == VT_DISPATCH || plain.IsEmpty() || plain.IsNull() || plain.IsObject() || plain.IsArray())
        throw ValueError(TypeName(type) + QStringLiteral(": ") + ValueError::TypeMismatch().Description());
    if (type == VT_BSTR) return ToPlainText(plain);
    // A double holds every number exactly except an amount.
    if (const auto number = NumberIn(plain); number && !plain.GetIf<Currency>()) return TypedNumber(type, *number);
    return ReadValueText(type, ToPlainText(plain));
}

Variant MakeArray(VarType elementType, const QList<Variant>& elements, qint32 lowerBound)
{
    return VisitType(elementType, [&]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (IsElementType<T>) return ArrayOfType<T>(elementType, elements, lowerBound);
        else throw ValueError::TypeMismatch();
    });
}

QString TypedTextOf(const Variant& value)
{
    return WriteTypedText(value);
}

Variant LowerBoundOf(const Variant& value)
{
    return value.IsArray() ? Variant(value.Array().LowerBound()) : Variant();
}

qint32 ToInt32(const Variant& value)
{
    const auto number = value.GetIf<bool>() || value.GetIf<Date>() ? std::nullopt : NumberIn(value);
    if (!number || std::trunc(*number) != *number) throw ValueError::TypeMismatch();
    return RoundToInt32(*number);
}

bool ToBool(const Variant& value)
{
    const auto number = NumberIn(value);
    if (!number || std::isnan(*number)) throw ValueError::TypeMismatch();
    return *number != 0.0;
}

QString ToText(const Variant& value)
{
    return value.Get<QString>();
}
