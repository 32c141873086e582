#include "scripttool/velsqlscript/ScriptValues.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/TextErrors.h"

#include <cmath>
#include <limits>

namespace {

/// Converted by its decimal text: the single 0.1 becomes the double 0.1, which converts back to the same single.
double FromSingle(float single)
{
    return std::isfinite(single) ? ParseNumber(FormatSingleExactly(single)).value_or(0.0) : static_cast<double>(single);
}

/// The wall-clock time of an automation date; invalid for times that no clock shows.
QDateTime LocalTime(Date date)
{
    try {
        const QDateTime wallClock = ToDateTime(date);
        return QDateTime(wallClock.date(), wallClock.time());
    } catch (const ValueError&) {
        return {};
    }
}

Variant FromNumber(double number)
{
    const bool isWhole = std::trunc(number) == number && !(number == 0.0 && std::signbit(number));
    const bool fits = number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    return isWhole && fits ? Variant(static_cast<qint32>(number)) : Variant(number);
}

Variant FromDate(const QDateTime& date)
{
    if (!date.isValid()) throw ValueError(QStringLiteral("the date is invalid"));
    return FromDateTime(date.toLocalTime());
}

} // namespace

ScriptValues::ScriptValues(QJSEngine& engine, const PreludeFunctions& prelude)
    : m_Engine(engine)
    , m_Prelude(prelude)
{
}

QJSValue ScriptValues::ToScript(const Variant& value)
{
    return std::visit(
        [this]<typename T>(const T& payload) -> QJSValue {
            if constexpr (std::is_same_v<T, std::monostate>) return QJSValue(QJSValue::UndefinedValue);
            else if constexpr (std::is_same_v<T, Null>) return QJSValue(QJSValue::NullValue);
            else if constexpr (std::is_same_v<T, float>) return FromSingle(payload);
            else if constexpr (std::is_same_v<T, Currency>)
                return static_cast<double>(payload.TenThousandths) / 10'000.0;
            else if constexpr (std::is_same_v<T, Date>) return m_Engine.toScriptValue(LocalTime(payload));
            else if constexpr (std::is_same_v<T, ObjectRef>)
                return payload ? Wrap({KindOf(payload), payload}) : QJSValue(QJSValue::NullValue);
            else if constexpr (std::is_same_v<T, SafeArrayRef>) return ArrayToScript(*payload);
            else if constexpr (std::is_same_v<T, qint8> || std::is_same_v<T, qint16>) return int{payload};
            else if constexpr (std::is_same_v<T, quint8> || std::is_same_v<T, quint16>) return uint{payload};
            else return QJSValue(payload);
        },
        value.Data());
}

QJSValue ScriptValues::Wrap(const ScriptHandle& handle)
{
    return m_Prelude.Wrap.call({KindName(handle.Kind), m_Engine.toScriptValue(handle)});
}

Variant ScriptValues::FromScript(const QJSValue& value, int depth)
{
    if (value.isUndefined()) return {};
    if (value.isNull()) return Null{};
    if (value.isBool()) return value.toBool();
    if (value.isNumber()) return FromNumber(value.toNumber());
    if (value.isString()) return value.toString();
    if (value.isDate()) return FromDate(value.toDateTime());
    if (value.isArray()) return SafeArray(ListFromScript(value, depth));
    return FromObject(value);
}

Variant ScriptValues::FromObject(const QJSValue& object)
{
    const QJSValue handle = object.isObject() ? m_Prelude.Unwrap.call({object}) : QJSValue();
    if (handle.isUndefined())
        throw ValueError(Quote(object.toString()) + QStringLiteral(" is not a value that the server knows"));
    return handle.toVariant().value<ScriptHandle>().Value;
}

QJSValue ScriptValues::ArrayToScript(const SafeArray& array)
{
    QJSValue result = m_Engine.newArray(static_cast<uint>(array.Count()));
    for (qsizetype i = 0; i < array.Count(); ++i) result.setProperty(static_cast<quint32>(i), ToScript(array.At(i)));
    return result;
}

QList<Variant> ScriptValues::ListFromScript(const QJSValue& array, int depth)
{
    if (depth == MaxArrayDepth) throw NestedTooDeep(); // also ends an array that contains itself
    const quint32 count = array.property(QStringLiteral("length")).toUInt();
    QList<Variant> elements;
    for (quint32 i = 0; i < count; ++i) elements.append(FromScript(array.property(i), depth + 1));
    return elements;
}
