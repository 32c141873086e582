#include "core/automation/VariantCompare.h"

#include "core/automation/SafeArray.h"
#include "core/automation/ValueTypes.h"

#include <QSet>

#include <type_traits>

namespace {

bool IsSingleAgainstDouble(const Variant& a, const Variant& b)
{
    return (a.Type() == VT_R4 && b.Type() == VT_R8) || (a.Type() == VT_R8 && b.Type() == VT_R4);
}

/// Whether both blocks are equal to the byte, as large arrays of bytes mostly are. Never true for types whose equal
/// values may have different bits.
bool SameBlock(const SafeArray& a, const SafeArray& b)
{
    return std::visit(
        [&b](const auto& elements) {
            using List = std::decay_t<decltype(elements)>;
            if constexpr (!std::is_integral_v<typename List::value_type>) return false;
            else return std::holds_alternative<List>(b.Data()) && elements == std::get<List>(b.Data());
        },
        a.Data());
}

/// One comparison of any depth. Blocks may be shared and reached in several ways: a pair found equal is not compared
/// again.
class ValueComparison
{
public:
    bool Same(const Variant& a, const Variant& b)
    {
        if (a.GetIf<float>() && b.GetIf<float>()) return a.Get<float>() == b.Get<float>(); // the quickest, and usual
        if (a.IsArray() && b.IsArray()) return SameArrays(a.Array(), b.Array());
        if (a.GetIf<Currency>() && b.GetIf<Currency>()) return a == b;
        // Doubles would not hold all digits of two amounts.
        const auto numberA = NumberIn(a);
        const auto numberB = NumberIn(b);
        if (IsSingleAgainstDouble(a, b)) return static_cast<float>(*numberA) == static_cast<float>(*numberB);
        if (numberA && numberB) return *numberA == *numberB;
        return !numberA && !numberB && a == b;
    }

private:
    bool SameArrays(const SafeArray& a, const SafeArray& b)
    {
        if (a.Count() != b.Count()) return false;
        if (SameBlock(a, b) || m_Same.contains(std::pair(&a, &b))) return true;
        for (qsizetype i = 0; i < a.Count(); ++i) {
            if (!Same(a.At(i), b.At(i))) return false;
        }
        if (a.ElementType() == VT_VARIANT) m_Same.insert(std::pair(&a, &b));
        return true;
    }

    QSet<std::pair<const SafeArray*, const SafeArray*>> m_Same;
};

} // namespace

bool SameValue(const Variant& a, const Variant& b)
{
    return ValueComparison().Same(a, b);
}
