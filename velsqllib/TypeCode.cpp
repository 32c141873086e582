#include "velsqllib/TypeCode.h"

#include "core/automation/NumberText.h"
#include "velsqllib/TextErrors.h"

#include <algorithm>
#include <array>

namespace {

struct NamedType
{
    VarType Type;
    QStringView Name;
    bool HasText;        ///< a single value of it
    bool ElementHasText; ///< an array of it
};

constexpr std::array<NamedType, 16> NamedTypes = {{
    {VT_EMPTY, u"VT_EMPTY", true, false},
    {VT_NULL, u"VT_NULL", true, false},
    {VT_I2, u"VT_I2", true, true},
    {VT_I4, u"VT_I4", true, true},
    {VT_R4, u"VT_R4", true, true},
    {VT_R8, u"VT_R8", true, true},
    {VT_CY, u"VT_CY", true, true},
    {VT_DATE, u"VT_DATE", true, true},
    {VT_BSTR, u"VT_BSTR", true, true},
    {VT_DISPATCH, u"VT_DISPATCH", false, false},
    {VT_BOOL, u"VT_BOOL", true, true},
    {VT_VARIANT, u"VT_VARIANT", false, true},
    {VT_I1, u"VT_I1", true, true},
    {VT_UI1, u"VT_UI1", true, true},
    {VT_UI2, u"VT_UI2", true, true},
    {VT_UI4, u"VT_UI4", true, true},
}};

/// The entry of a type or of its elements; null when there is no such type.
const NamedType* FindType(VarType type)
{
    const auto found = std::find_if(NamedTypes.begin(), NamedTypes.end(),
                                    [code = ElementOf(type)](const NamedType& named) { return named.Type == code; });
    return found == NamedTypes.end() ? nullptr : &*found;
}

bool IsArrayType(VarType type)
{
    return ElementOf(type) != type;
}

bool IsDecimal(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

} // namespace

QString TypeName(VarType type)
{
    const NamedType* named = FindType(type);
    if (!named) return QString::number(type);
    return (IsArrayType(type) ? QStringLiteral("VT_ARRAY|") : QString()) + named->Name.toString();
}

VarType ReadTypeCode(QStringView text)
{
    const QStringView digits = WithoutOuterBlanks(text);
    if (!IsDecimal(digits)) throw ValueError(Quote(text) + QStringLiteral(" is not a type code such as 3 for VT_I4"));
    bool known = false;
    const VarType type = digits.toShort(&known);
    if (!known || !FindType(type)) throw ValueError(QStringLiteral("Unknown type code ") + Quote(digits));
    RequireText(type);
    return type;
}

void RequireText(VarType type)
{
    const NamedType* named = FindType(type);
    if (!named || !(IsArrayType(type) ? named->ElementHasText : named->HasText))
        throw ValueError(TypeName(type) + QStringLiteral(" has no text"));
}
