#include "core/automation/ValueTypes.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::pair<VarType, QStringView>, 16> TypeNames = {{
    {VT_EMPTY, u"EMPTY"},
    {VT_NULL, u"NULL"},
    {VT_I2, u"I2"},
    {VT_I4, u"I4"},
    {VT_R4, u"R4"},
    {VT_R8, u"R8"},
    {VT_CY, u"CY"},
    {VT_DATE, u"DATE"},
    {VT_BSTR, u"BSTR"},
    {VT_DISPATCH, u"DISPATCH"},
    {VT_BOOL, u"BOOL"},
    {VT_VARIANT, u"VARIANT"},
    {VT_I1, u"I1"},
    {VT_UI1, u"UI1"},
    {VT_UI2, u"UI2"},
    {VT_UI4, u"UI4"},
}};

} // namespace

QStringView BareTypeName(VarType type)
{
    const auto found =
        std::find_if(TypeNames.begin(), TypeNames.end(), [type](const auto& named) { return named.first == type; });
    return found == TypeNames.end() ? QStringView() : found->second;
}

std::optional<double> NumberIn(const Variant& value)
{
    return std::visit(
        []<typename T>(const T& payload) -> std::optional<double> {
            if constexpr (std::is_same_v<T, bool>) return payload ? -1.0 : 0.0;
            else if constexpr (std::is_same_v<T, Currency>)
                return static_cast<double>(payload.TenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, Date>) return payload.Days;
            else if constexpr (std::is_arithmetic_v<T>) return static_cast<double>(payload);
            else return std::nullopt;
        },
        value.Data());
}
