#include "velsqllib/TypeCode.h"

#include "core/automation/NumberText.h"
#include "core/automation/ValueTypes.h"
#include "velsqllib/TextErrors.h"

#include <algorithm>

namespace {

bool IsArrayType(VarType type)
{
    return ElementOf(type) != type;
}

bool IsKnown(VarType type)
{
    return !BareTypeName(ElementOf(type)).isEmpty();
}

bool IsDecimal(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

} // namespace

QString TypeName(VarType type)
{
    const QStringView name = BareTypeName(ElementOf(type));
    if (name.isEmpty()) return QString::number(type);
    return (IsArrayType(type) ? QStringLiteral("VT_ARRAY|VT_") : QStringLiteral("VT_")) + name.toString();
}

VarType ReadTypeCode(QStringView text)
{
    const QStringView digits = WithoutOuterBlanks(text);
    if (!IsDecimal(digits)) throw ValueError(Quote(text) + QStringLiteral(" is not a type code such as 3 for VT_I4"));
    bool known = false;
    const VarType type = digits.toShort(&known);
    if (!known || !IsKnown(type)) throw ValueError(QStringLiteral("Unknown type code ") + Quote(digits));
    RequireText(type);
    return type;
}

void RequireText(VarType type)
{
    const bool hasText = IsKnown(type) && VisitType(ElementOf(type), [type]<typename T>(std::type_identity<T>) {
                             if (std::is_same_v<T, ObjectRef>) return false;
                             return IsArrayType(type) ? IsElementType<T> : !std::is_same_v<T, Variant>;
                         });
    if (!hasText) throw ValueError(TypeName(type) + QStringLiteral(" has no text"));
}
