#include "core/automation/SafeArray.h"

#include "core/automation/Errors.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace {

constexpr std::array<VarType, std::variant_size_v<SafeArray::Elements>> ElementTypes = {
    VT_BOOL, VT_I1, VT_UI1, VT_I2,   VT_UI2,  VT_I4,       VT_UI4,
    VT_R4,   VT_R8, VT_CY,  VT_DATE, VT_BSTR, VT_DISPATCH, VT_VARIANT};

template <typename T>
bool SameElements(const QList<T>& a, const QList<T>& b)
{
    if constexpr (std::is_integral_v<T>) return a == b;
    // Compared through Variant, element by element: floating-point numbers are equal when their bits are.
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const T& x, const T& y) { return Variant(x) == Variant(y); });
}

} // namespace

SafeArray::SafeArray(Elements elements, qint32 lowerBound)
    : m_Elements(std::move(elements))
    , m_LowerBound(lowerBound)
{
    if (Count() > std::numeric_limits<qint32>::max()) throw ValueError::Overflow();
    if (qint64{lowerBound} + Count() - 1 > std::numeric_limits<qint32>::max()) throw ValueError::Overflow();
    if (Count() == 0 && lowerBound == std::numeric_limits<qint32>::min()) throw ValueError::Overflow();
}

VarType SafeArray::ElementType() const
{
    return ElementTypes[m_Elements.index()];
}

qsizetype SafeArray::Count() const
{
    return std::visit([](const auto& elements) { return elements.size(); }, m_Elements);
}

qint32 SafeArray::UpperBound() const
{
    return static_cast<qint32>(m_LowerBound + Count() - 1);
}

Variant SafeArray::At(qsizetype offset) const
{
    if (offset < 0 || offset >= Count()) throw ValueError::SubscriptOutOfRange();
    return std::visit([offset](const auto& elements) { return Variant(elements.at(offset)); }, m_Elements);
}

bool SafeArray::operator==(const SafeArray& other) const
{
    if (m_LowerBound != other.m_LowerBound || m_Elements.index() != other.m_Elements.index()) return false;
    return std::visit(
        [&other](const auto& elements) {
            return SameElements(elements, std::get<std::decay_t<decltype(elements)>>(other.m_Elements));
        },
        m_Elements);
}

void SafeArray::ThrowTypeMismatch()
{
    throw ValueError::TypeMismatch();
}
