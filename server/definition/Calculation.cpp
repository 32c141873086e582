#include "server/definition/Calculation.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/automation/VariantCompare.h"
#include "server/plant/Convert.h"
#include "server/plant/Plant.h"
#include "velsqllib/TypeCode.h"

#include <cmath>
#include <compare>
#include <limits>
#include <numbers>

namespace {

constexpr qsizetype LongestText =
    // In characters: texts that are joined over and over would fill the memory.
    32 * 1024 * 1024;

bool IsWhole(const Variant& value)
{
    return std::visit([]<typename T>(const T&) { return std::is_integral_v<T>; }, value.Data());
}

bool FitsI4(double number)
{
    return number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
}

/// I4 for a whole result that fits, else R8.
Variant Result(double number, bool whole)
{
    if (whole && FitsI4(number) && number == std::trunc(number)) return static_cast<qint32>(number);
    return number;
}

qint32 Bits(const Variant& value)
{
    if (value.GetIf<quint32>()) return static_cast<qint32>(value.Get<quint32>()); // all 32 bits, signed or not
    return ConvertTo(value, VT_I4).Get<qint32>();
}

[[noreturn]] void ThrowDivisionByZero()
{
    throw ValueError(QStringLiteral("Division by zero"));
}

/// Throws ValueError when there is no result, in mathematics or in the numbers of this machine.
double RaisedTo(double base, double exponent)
{
    if (base == 0.0 && exponent < 0.0) ThrowDivisionByZero();
    const double power = std::pow(base, exponent);
    if (!std::isfinite(power) && std::isfinite(base) && std::isfinite(exponent))
        throw ValueError(
            QStringLiteral("%1 POW %2 has no result").arg(ToPlainText(Variant(base)), ToPlainText(Variant(exponent))));
    return power;
}

Variant Arithmetic(Operator operation, const Variant& value, const Variant& operand)
{
    const double a = ToNumber(value);
    const double b = ToNumber(operand);
    const bool whole = IsWhole(value) && IsWhole(operand);
    switch (operation) {
    case Operator::Add: return Result(a + b, whole);
    case Operator::Subtract: return Result(a - b, whole);
    case Operator::Multiply: return Result(a * b, whole);
    case Operator::Power: return Result(RaisedTo(a, b), whole && b >= 0);
    default: break;
    }
    if (b == 0.0) ThrowDivisionByZero();
    return a / b;
}

/// MOD and IDIV work on numbers rounded to whole ones.
Variant WholeDivision(Operator operation, const Variant& value, const Variant& operand)
{
    const double a = std::nearbyint(ToNumber(value));
    const double b = std::nearbyint(ToNumber(operand));
    if (b == 0.0) ThrowDivisionByZero();
    return Result(operation == Operator::Modulo ? std::fmod(a, b) : std::trunc(a / b), true);
}

Variant Bitwise(Operator operation, const Variant& value, const Variant& operand)
{
    const qint32 a = Bits(value);
    const qint32 b = Bits(operand);
    const auto combined = [&]() -> qint32 {
        switch (operation) {
        case Operator::And: return a & b;
        case Operator::Or: return a | b;
        case Operator::Xor: return a ^ b;
        default: return ~a | b; // IMP
        }
    }();
    if (value.Type() == VT_BOOL && operand.Type() == VT_BOOL) return combined != 0;
    return combined;
}

Variant Shift(Operator operation, const Variant& value, const Variant& operand)
{
    const qint32 places = Bits(operand);
    if (places < 0 || places > 31)
        throw ValueError(QStringLiteral("a shift by %1 is not within 0 to 31 bits").arg(places));
    const qint32 bits = Bits(value);
    if (operation == Operator::ShiftRight) return bits >> places;
    return static_cast<qint32>(static_cast<quint32>(bits) << places);
}

/// Two texts are compared by their characters, other values as numbers; a NaN has no order. Throws ValueError for
/// values that are not numbers.
std::partial_ordering Order(const Variant& value, const Variant& operand)
{
    const QString* a = value.GetIf<QString>();
    const QString* b = operand.GetIf<QString>();
    if (a && b) return QString::compare(*a, *b) <=> 0;
    const Currency* amount = value.GetIf<Currency>();
    const Currency* other = operand.GetIf<Currency>();
    if (amount && other) return amount->TenThousandths <=> other->TenThousandths;
    if (SameValue(value, operand)) return std::partial_ordering::equivalent; // also for a single and a double
    return ToNumber(value) <=> ToNumber(operand);
}

/// Agrees with the order wherever there is one; values without an order, such as arrays, may still be equal.
bool IsEqual(const Variant& value, const Variant& operand)
{
    return NumberOf(value) && NumberOf(operand) ? Order(value, operand) == 0 : SameValue(value, operand);
}

Variant Comparison(Operator operation, const Variant& value, const Variant& operand)
{
    switch (operation) {
    case Operator::Equal: return IsEqual(value, operand);
    case Operator::NotEqual: return !IsEqual(value, operand);
    case Operator::LessOrEqual: return Order(value, operand) <= 0;
    case Operator::Less: return Order(value, operand) < 0;
    case Operator::GreaterOrEqual: return Order(value, operand) >= 0;
    default: return Order(value, operand) > 0;
    }
}

Variant OfOneNumber(Operator operation, const Variant& value)
{
    const double number = ToNumber(value);
    switch (operation) {
    case Operator::Absolute: return Result(std::abs(number), IsWhole(value));
    case Operator::Fix: return Result(std::trunc(number), true);
    case Operator::Integer: return Result(std::floor(number), true);
    case Operator::Negate: return Result(-number, IsWhole(value));
    case Operator::RadiansToDegrees: return number * 180.0 / std::numbers::pi;
    default: return number * std::numbers::pi / 180.0;
    }
}

Variant Inverse(const Variant& value)
{
    if (const bool* flag = value.GetIf<bool>()) return !*flag;
    return ~Bits(value);
}

Variant Joined(const QString& text, const QString& more)
{
    if (text.size() + more.size() > LongestText)
        throw ValueError(QStringLiteral("the text would be longer than %1 characters").arg(LongestText));
    return text + more;
}

Variant LengthOf(const Variant& value)
{
    return static_cast<qint32>(value.IsArray() ? value.Array().Count() : ToPlainText(value).size());
}

Variant Part(Operator operation, const Variant& value, const Variant& operand)
{
    const qint32 count = Bits(operand);
    if (count < 0) throw ValueError(QStringLiteral("a number of characters cannot be %1").arg(count));
    const QString text = ToPlainText(value);
    return operation == Operator::Left ? text.left(count) : text.right(count);
}

} // namespace

Variant Calculate(Operator operation, const Variant& value, const Variant& operand)
{
    switch (operation) {
    case Operator::Nop: return value;
    case Operator::Add:
    case Operator::Subtract:
    case Operator::Multiply:
    case Operator::Divide:
    case Operator::Power: return Arithmetic(operation, value, operand);
    case Operator::Modulo:
    case Operator::IntegerDivide: return WholeDivision(operation, value, operand);
    case Operator::And:
    case Operator::Or:
    case Operator::Xor:
    case Operator::Imply: return Bitwise(operation, value, operand);
    case Operator::ShiftLeft:
    case Operator::ShiftRight: return Shift(operation, value, operand);
    case Operator::Equal:
    case Operator::NotEqual:
    case Operator::LessOrEqual:
    case Operator::Less:
    case Operator::GreaterOrEqual:
    case Operator::Greater: return Comparison(operation, value, operand);
    case Operator::Concatenate: return Joined(ToPlainText(value), ToPlainText(operand));
    case Operator::Not: return Inverse(value);
    case Operator::Length: return LengthOf(value);
    case Operator::Left:
    case Operator::Right: return Part(operation, value, operand);
    default: return OfOneNumber(operation, value);
    }
}

Calculation::Calculation(Operator operation, QString operand)
    : m_Operator(operation)
    , m_Operand(std::move(operand))
{
}

Variant Calculation::Apply(const Variant& value, const PlantController& controller) const
{
    if (m_Operator == Operator::Nop) return value;
    return Calculate(m_Operator, value, NeedsOperand(m_Operator) ? Operand(controller) : Variant());
}

Variant Calculation::Operand(const PlantController& controller) const
{
    if (const PlantItemRef item = controller.Owner().Resolve(controller, m_Operand)) return item->Value();
    if (const auto number = ParseNumber(m_Operand)) return Result(*number, true);
    throw DescribedError(QStringLiteral("the operand \"%1\" of its calculation does not exist").arg(m_Operand));
}
