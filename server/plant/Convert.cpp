#include "server/plant/Convert.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
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

/// A text that says a number or a truth.
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
    switch (type) {
    case VT_I1: return ToInteger<qint8>(value, type);
    case VT_UI1: return ToInteger<quint8>(value, type);
    case VT_I2: return ToInteger<qint16>(value, type);
    case VT_UI2: return ToInteger<quint16>(value, type);
    case VT_I4: return ToInteger<qint32>(value, type);
    case VT_UI4: return ToInteger<quint32>(value, type);
    case VT_R4: return ToSingle(value);
    case VT_R8: return NumberFor(value, type);
    case VT_CY: return ToCurrency(value);
    case VT_BOOL: return NumberFor(value, type) != 0.0;
    case VT_DATE: return ToDate(value);
    case VT_BSTR: return ToText(value);
    case VT_EMPTY: return Variant();
    case VT_NULL: return Null{};
    default: ThrowDoesNotFit(value, type);
    }
}

/// Builds a block of elements by asking for them one after the other.
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
    switch (type) {
    case VT_BOOL: return Block<bool>(count, elementAt);
    case VT_I1: return Block<qint8>(count, elementAt);
    case VT_UI1: return Block<quint8>(count, elementAt);
    case VT_I2: return Block<qint16>(count, elementAt);
    case VT_UI2: return Block<quint16>(count, elementAt);
    case VT_I4: return Block<qint32>(count, elementAt);
    case VT_UI4: return Block<quint32>(count, elementAt);
    case VT_R4: return Block<float>(count, elementAt);
    case VT_R8: return Block<double>(count, elementAt);
    case VT_CY: return Block<Currency>(count, elementAt);
    case VT_DATE: return Block<Date>(count, elementAt);
    case VT_BSTR: return Block<QString>(count, elementAt);
    case VT_VARIANT: return Block<Variant>(count, elementAt);
    default: throw ValueError(QStringLiteral("There are no arrays of %1").arg(TypeName(type)));
    }
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
    return std::visit(
        [](const auto& payload) -> std::optional<double> {
            using T = std::decay_t<decltype(payload)>;
            if constexpr (std::is_same_v<T, std::monostate>) return 0.0;
            else if constexpr (std::is_same_v<T, bool>) return payload ? -1.0 : 0.0;
            else if constexpr (std::is_same_v<T, Currency>)
                return static_cast<double>(payload.TenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, Date>) return payload.Days;
            else if constexpr (std::is_same_v<T, QString>) return TextToNumber(payload);
            else if constexpr (std::is_arithmetic_v<T>) return static_cast<double>(payload);
            else return std::nullopt;
        },
        value.Data());
}

double ToNumber(const Variant& value)
{
    const auto number = NumberOf(value);
    if (!number) throw ValueError(QStringLiteral("%1 is not a number").arg(Quoted(value)));
    return *number;
}

namespace {

constexpr double MostCurrency = 922'337'203'685'470.0;
constexpr double FirstDay = -657'434.0; // 0100-01-01
constexpr double LastDay = 2'958'465.0; // 9999-12-31

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
    switch (type) {
    case VT_I1: return Clamp<qint8>(number);
    case VT_UI1: return Clamp<quint8>(number);
    case VT_I2: return Clamp<qint16>(number);
    case VT_UI2: return Clamp<quint16>(number);
    case VT_I4: return Clamp<qint32>(number);
    case VT_UI4: return Clamp<quint32>(number);
    case VT_R4: return ClampToSingle(number);
    case VT_CY: return ConvertScalar(std::clamp(OrZero(number), -MostCurrency, MostCurrency), type);
    case VT_DATE: return ConvertScalar(std::clamp(OrZero(number), FirstDay, LastDay), type);
    case VT_VARIANT: return number;
    default: return ConvertScalar(number, type);
    }
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
