#include "velsqllib/ScalarText.h"

#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "velsqllib/CurrencyText.h"
#include "velsqllib/DateText.h"
#include "velsqllib/FloatText.h"
#include "velsqllib/TextErrors.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace {

bool ReadBool(QStringView text)
{
    const QStringView word = WithoutOuterBlanks(text);
    if (word.compare(u"True", Qt::CaseInsensitive) == 0) return true;
    if (word.compare(u"False", Qt::CaseInsensitive) == 0) return false;
    const auto number = ParseNumber(text);
    if (!number) throw ValueError(Quote(text) + QStringLiteral(" is neither True, False nor a number"));
    return *number != 0;
}

/// Most numbers in large arrays are just a few digits.
std::optional<int> ReadFewDigits(QStringView text)
{
    if (text.isEmpty() || text.size() > 9) return std::nullopt;
    int number = 0;
    for (const QChar c : text) {
        if (c < u'0' || c > u'9') return std::nullopt;
        number = number * 10 + (c.unicode() - u'0');
    }
    return number;
}

/// Halves are rounded to the even neighbour, as everywhere in automation.
double ReadWhole(QStringView text)
{
    if (const auto number = ReadFewDigits(text)) return *number;
    const auto number = ParseNumber(text);
    if (!number) throw NotANumber(text);
    return std::nearbyint(*number);
}

template <typename T>
T ReadInteger(QStringView text)
{
    using Limits = std::numeric_limits<T>;
    const double number = ReadWhole(text);
    if (!(number >= Limits::min() && number <= Limits::max()))
        throw Outside(text, QString::number(Limits::min()), QString::number(Limits::max()));
    return static_cast<T>(number);
}

template <typename T>
void AppendInteger(QString& out, T value)
{
    char digits[12];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value);
    out += QLatin1StringView(digits, end.ptr);
}

} // namespace

template <typename T>
T ReadScalar(QStringView text)
{
    if constexpr (std::is_same_v<T, bool>) return ReadBool(text);
    else if constexpr (std::is_integral_v<T>) return ReadInteger<T>(text);
    else if constexpr (std::is_floating_point_v<T>) return ReadFloat<T>(text);
    else if constexpr (std::is_same_v<T, Currency>) return ReadCurrency(text);
    else return ReadDate(text);
}

template <typename T>
void AppendScalar(QString& out, T value)
{
    if constexpr (std::is_same_v<T, bool>) out += FormatBool(value);
    else if constexpr (std::is_integral_v<T>) AppendInteger(out, value);
    else if constexpr (std::is_floating_point_v<T>) out += WriteFloat(value);
    else if constexpr (std::is_same_v<T, Currency>) out += FormatCurrency(value);
    else out += WriteDate(value);
}

#define VELSQL_SCALAR(T)                                                                                               \
    template T ReadScalar<T>(QStringView);                                                                             \
    template void AppendScalar<T>(QString&, T);

VELSQL_SCALAR(bool)
VELSQL_SCALAR(qint8)
VELSQL_SCALAR(quint8)
VELSQL_SCALAR(qint16)
VELSQL_SCALAR(quint16)
VELSQL_SCALAR(qint32)
VELSQL_SCALAR(quint32)
VELSQL_SCALAR(float)
VELSQL_SCALAR(double)
VELSQL_SCALAR(Currency)
VELSQL_SCALAR(Date)

#undef VELSQL_SCALAR
