#include "core/automation/Variant.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"

#include <array>
#include <bit>

namespace {

/// Codes in the order of Variant::Payload; that of an array depends on its elements.
constexpr std::array<VarType, std::variant_size_v<Variant::Payload> - 1> PayloadTypes = {
    VT_EMPTY, VT_NULL, VT_BOOL, VT_I1, VT_UI1,  VT_I2,   VT_UI2,     VT_I4,
    VT_UI4,   VT_R4,   VT_R8,   VT_CY, VT_DATE, VT_BSTR, VT_DISPATCH};

template <typename T>
bool SamePayload(const T& a, const T& b)
{
    return a == b;
}

bool SamePayload(float a, float b)
{
    return std::bit_cast<quint32>(a) == std::bit_cast<quint32>(b);
}

bool SamePayload(double a, double b)
{
    return std::bit_cast<quint64>(a) == std::bit_cast<quint64>(b);
}

bool SamePayload(Date a, Date b)
{
    return SamePayload(a.Days, b.Days);
}

bool SamePayload(const SafeArrayRef& a, const SafeArrayRef& b)
{
    return a == b || *a == *b;
}

} // namespace

Variant::Variant(SafeArray array)
    : m_Payload(std::make_shared<const SafeArray>(std::move(array)))
{
}

Variant::Variant(SafeArrayRef array)
    : m_Payload(std::move(array))
{
    if (!*GetIf<SafeArrayRef>()) ThrowTypeMismatch();
}

VarType Variant::Type() const
{
    if (const auto* array = GetIf<SafeArrayRef>()) return ArrayOf((*array)->ElementType());
    return PayloadTypes[m_Payload.index()];
}

bool Variant::operator==(const Variant& other) const
{
    if (m_Payload.index() != other.m_Payload.index()) return false;
    return std::visit(
        [&other](const auto& payload) {
            return SamePayload(payload, std::get<std::decay_t<decltype(payload)>>(other.m_Payload));
        },
        m_Payload);
}

void Variant::ThrowTypeMismatch()
{
    throw ValueError::TypeMismatch();
}
