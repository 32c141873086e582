#include "server/plant/Convert.h"

#include "core/automation/Calendar.h"
#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/automation/ValueTypes.h"
#include "velsqllib/TypeCode.h"
#include "velsqllib/ValueText.h"

#include <cmath>
#include <limits>

namespace {

[[noreturn]] void ThrowDoesNotFit(const Variant& value, VarType type)
{
    throw ValueError(QStringLiteral("%1 cannot become %2").arg(Quoted(value), TypeName(type)));
}

[[noreturn]] void ThrowOutOfRange(const Variant& value, VarType type)
{
    throw ValueError(QStringLiteral("%1 is out of the range of %2").arg(Quoted(value), TypeName(type)));
}

/// A text that holds a number or a truth value.
std::optional<double> TextToNumber(const QString& text)
{
    if (const auto number = ParseNumber(text); number && std::isfinite(*number)) return number;
    try {
        return ReadValueText(VT_BOOL, text).Get<bool>() ? -1.0 : 0.0;
    } catch (const ValueError&) {
        return std::nullopt;
    }
}

double NumberFor(const Variant& value, VarType type)
{
    const auto number = NumberOf(value);
    if (!number) ThrowDoesNotFit(value, type);
    return *number;
}

template <typename T>
Variant ToInteger(const Variant& value, VarType type)
{
    const double rounded = std::nearbyint(NumberFor(value, type));
    if (!(rounded >= std::numeric_limits<T>::min() && rounded <= std::numeric_limits<T>::max()))
        ThrowOutOfRange(value, type);
    return static_cast<T>(rounded);
}

Variant ToSingle(const Variant& value)
{
    const double number = NumberFor(value, VT_R4);
    const auto single = static_cast<float>(number);
    if (std::isfinite(number) && !std::isfinite(single)) ThrowOutOfRange(value, VT_R4);
    return single;
}

Variant ToCurrency(const Variant& value)
{
    const double tenThousandths = std::nearbyint(NumberFor(value, VT_CY) * 10000.0);
    constexpr double Limit = 9.2233720368547e18;
    if (!(std::abs(tenThousandths) <= Limit)) ThrowOutOfRange(value, VT_CY);
    return Currency{static_cast<qint64>(tenThousandths)};
}

Variant ToDate(const Variant& value)
{
    const Date date{NumberFor(value, VT_DATE)};
    try {
        ToDateTime(date);
    } catch (const ValueError&) {
        ThrowOutOfRange(value, VT_DATE);
    }
    return date;
}

Variant ToText(const Variant& value)
{
    try {
        return ToPlainText(value);
    } catch (const ValueError&) {
        ThrowDoesNotFit(value, VT_BSTR);
    }
}

Variant ConvertScalar(const Variant& value, VarType type)
{
    return VisitType(type, [&]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (std::is_same_v<T, bool>) return NumberFor(value, type) != 0.0;
        else if constexpr (std::is_integral_v<T>) return ToInteger<T>(value, type);
        else if constexpr (std::is_same_v<T, float>) return ToSingle(value);
        else if constexpr (std::is_same_v<T, double>) return NumberFor(value, type);
        else if constexpr (std::is_same_v<T, Currency>) return ToCurrency(value);
        else if constexpr (std::is_same_v<T, Date>) return ToDate(value);
        else if constexpr (std::is_same_v<T, QString>) return ToText(value);
        else if constexpr (IsElementType<T>) ThrowDoesNotFit(value, type);
        else return T();
    });
}

/// Builds a block by asking for its elements one after the other.
template <typename T, typename ElementAt>
SafeArray::Elements Block(qsizetype count, ElementAt elementAt)
{
    QList<T> elements;
    elements.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        const Variant element = elementAt(i);
        if constexpr (std::is_same_v<T, Variant>) elements.append(element);
        else elements.append(element.template Get<T>());
    }
    return elements;
}

template <typename ElementAt>
SafeArray::Elements BlockOf(VarType type, qsizetype count, ElementAt elementAt)
{
    return VisitType(type, [&]<typename T>(std::type_identity<T>) -> SafeArray::Elements {
        if constexpr (IsElementType<T> && !std::is_same_v<T, ObjectRef>) return Block<T>(count, elementAt);
        else throw ValueError(QStringLiteral("There are no arrays of %1").arg(TypeName(type)));
    });
}

Variant ConvertArray(const Variant& value, VarType type)
{
    if (!value.IsArray()) ThrowDoesNotFit(value, type);
    const SafeArray& array = value.Array();
    const VarType elementType = ElementOf(type);
    return SafeArray(
        BlockOf(elementType, array.Count(), [&](qsizetype i) { return ConvertTo(array.At(i), elementType); }),
        array.LowerBound());
}

} // namespace

QString Quoted(const Variant& value)
{
    constexpr qsizetype Longest = 60;
    if (const QString* text = value.GetIf<QString>()) {
        const bool isLong = text->size() > Longest;
        return u'"' + (isLong ? text->left(Longest) + QStringLiteral("...") : *text) + u'"';
    }
    if (value.IsEmpty()) return QStringLiteral("EMPTY");
    if (value.IsNull()) return QStringLiteral("NULL");
    if (value.IsObject()) return QStringLiteral("an object");
    try {
        return ToPlainText(value);
    } catch (const ValueError&) {
        return TypeName(value.Type());
    }
}

Variant ConvertTo(const Variant& value, VarType type)
{
    if (type == VT_VARIANT || value.Type() == type) return value;
    if (const QString* text = value.GetIf<QString>(); text && type != VT_EMPTY && type != VT_NULL)
        return ReadValueText(type, *text);
    return type & VT_ARRAY ? ConvertArray(value, type) : ConvertScalar(value, type);
}

std::optional<double> NumberOf(const Variant& value)
{
    if (value.IsEmpty()) return 0.0;
    if (const QString* text = value.GetIf<QString>()) return TextToNumber(*text);
    return NumberIn(value);
}

double ToNumber(const Variant& value)
{
    const auto number = NumberOf(value);
    if (!number) throw ValueError(QStringLiteral("%1 is not a number").arg(Quoted(value)));
    return *number;
}

namespace {

constexpr double MostCurrency = 922'337'203'685'470.0;
constexpr auto FirstDay = static_cast<double>(Calendar::FirstDay);
constexpr auto LastDay = static_cast<double>(Calendar::LastDay);

double OrZero(double number)
{
    return std::isnan(number) ? 0.0 : number;
}

float ClampToSingle(double number)
{
    constexpr double Most = std::numeric_limits<float>::max();
    return static_cast<float>(std::isnan(number) ? number : std::clamp(number, -Most, Most));
}

template <typename T>
Variant Clamp(double number)
{
    const double rounded = std::nearbyint(OrZero(number));
    return static_cast<T>(std::clamp(rounded, static_cast<double>(std::numeric_limits<T>::min()),
                                     static_cast<double>(std::numeric_limits<T>::max())));
}

} // namespace

Variant ClampTo(double number, VarType type)
{
    return VisitType(type, [&]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (std::is_same_v<T, Variant>) return number;
        else if constexpr (std::is_same_v<T, float>) return ClampToSingle(number);
        else if constexpr (std::is_same_v<T, Currency>)
            return ConvertScalar(std::clamp(OrZero(number), -MostCurrency, MostCurrency), type);
        else if constexpr (std::is_same_v<T, Date>)
            return ConvertScalar(std::clamp(OrZero(number), FirstDay, LastDay), type);
        else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) return Clamp<T>(number);
        else return ConvertScalar(number, type);
    });
}

Variant ZeroOf(VarType type, qsizetype count)
{
    if (type == VT_VARIANT) return {};
    if (!(type & VT_ARRAY)) return ConvertScalar(Variant(), type);
    const VarType elementType = ElementOf(type);
    return SafeArray(BlockOf(elementType, count, [&](qsizetype) { return ZeroOf(elementType); }));
}

Variant TextArray(const QStringList& texts)
{
    return SafeArray(QList<QString>(texts));
}
