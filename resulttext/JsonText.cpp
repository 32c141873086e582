#include "resulttext/JsonText.h"

#include "core/automation/SafeArray.h"

#include <cmath>

namespace {

void AppendEscaped(QString& out, QChar character)
{
    switch (character.unicode()) {
    case u'"': out += QLatin1StringView("\\\""); break;
    case u'\\': out += QLatin1StringView("\\\\"); break;
    case u'\n': out += QLatin1StringView("\\n"); break;
    case u'\r': out += QLatin1StringView("\\r"); break;
    case u'\t': out += QLatin1StringView("\\t"); break;
    default: out += QStringLiteral("\\u%1").arg(uint{character.unicode()}, 4, 16, QChar(u'0'));
    }
}

/// A double holds every decimal number of 15 digits.
constexpr qint64 MostExactAmount = 999'999'999'999'999;

bool IsJsonNumber(const Variant& value)
{
    return std::visit(
        []<typename T>(const T& number) {
            if constexpr (std::is_same_v<T, Currency>)
                return number.TenThousandths >= -MostExactAmount && number.TenThousandths <= MostExactAmount;
            else if constexpr (std::is_floating_point_v<T>) return std::isfinite(number);
            else return std::is_integral_v<T> && !std::is_same_v<T, bool>;
        },
        value.Data());
}

} // namespace

void AppendJsonString(QString& out, QStringView text)
{
    out += u'"';
    for (const QChar character : text) {
        const bool isPlain = character >= u' ' && character != u'"' && character != u'\\';
        if (isPlain) out += character;
        else AppendEscaped(out, character);
    }
    out += u'"';
}

void AppendJson(QString& out, const Variant& value, ArrayText arrayText)
{
    if (!HasValue(value)) out += QLatin1StringView("null");
    else if (const bool* flag = value.GetIf<bool>()) out += QLatin1StringView(*flag ? "true" : "false");
    else if (IsJsonNumber(value)) out += CellText(value, arrayText);
    else AppendJsonString(out, CellText(value, arrayText));
}

void AppendNestedJson(QString& out, const Variant& value)
{
    if (!value.IsArray()) return AppendJson(out, value.IsObject() ? Variant() : value, nullptr);
    const SafeArray& array = value.Array();
    out += u'[';
    for (qsizetype i = 0; i < array.Count(); ++i) {
        if (i > 0) out += u',';
        AppendNestedJson(out, array.At(i));
    }
    out += u']';
}
