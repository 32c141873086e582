#include "velsqllib/FloatText.h"

#include "core/automation/NumberText.h"
#include "velsqllib/TextErrors.h"

#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

namespace {

/// The bits of a NaN: its sign, an exponent of ones, and after it a payload that is not 0.
template <typename T>
struct NanBits
{
    using Bits = std::conditional_t<sizeof(T) == sizeof(quint32), quint32, quint64>;
    static constexpr int MarkSize = std::numeric_limits<T>::digits - 1;
    static constexpr Bits MarkMask = (Bits{1} << MarkSize) - 1;
    static constexpr Bits UsualMark = Bits{1} << (MarkSize - 1);
    static constexpr Bits Sign = Bits{1} << (sizeof(T) * 8 - 1);
    static constexpr Bits Exponent = ~(Sign | MarkMask);
};

template <typename T>
QString WriteNan(T number)
{
    using Nan = NanBits<T>;
    const auto bits = std::bit_cast<typename Nan::Bits>(number);
    const auto mark = bits & Nan::MarkMask;
    const QString text = (bits & Nan::Sign) ? QStringLiteral("-NaN") : QStringLiteral("NaN");
    return mark == Nan::UsualMark ? text : text + u'(' + QString::number(mark, 16) + u')';
}

/// The payload after "NaN": nothing, or hexadecimal digits in parentheses.
template <typename T>
std::optional<quint64> ReadNanMark(QStringView text)
{
    using Nan = NanBits<T>;
    if (text.isEmpty()) return Nan::UsualMark;
    if (text.size() < 3 || text.front() != u'(' || text.back() != u')') return std::nullopt;
    bool ok = false;
    const quint64 mark = text.sliced(1, text.size() - 2).toULongLong(&ok, 16);
    return ok && mark != 0 && mark <= Nan::MarkMask ? std::optional(mark) : std::nullopt;
}

/// Values that are not numbers but have a text.
template <typename T>
std::optional<T> ReadSpecial(QStringView text)
{
    using Nan = NanBits<T>;
    text = WithoutOuterBlanks(text);
    const bool negative = text.startsWith(u'-');
    if (negative) text = text.sliced(1);
    for (const QStringView name : {QStringView(u"Infinity"), QStringView(u"Inf")}) {
        if (text.compare(name, Qt::CaseInsensitive) == 0)
            return negative ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    }
    if (!text.startsWith(u"NaN", Qt::CaseInsensitive)) return std::nullopt;
    const auto mark = ReadNanMark<T>(text.sliced(3));
    if (!mark) return std::nullopt;
    const auto sign = negative ? Nan::Sign : 0;
    return std::bit_cast<T>(static_cast<typename Nan::Bits>(sign | Nan::Exponent | *mark));
}

std::optional<float> Parse(QStringView text, float)
{
    return ParseSingle(text);
}

std::optional<double> Parse(QStringView text, double)
{
    return ParseNumber(text);
}

QString Format(float number)
{
    return FormatSingleExactly(number);
}

QString Format(double number)
{
    return FormatDouble(number);
}

} // namespace

template <typename T>
T ReadFloat(QStringView text)
{
    if (const auto number = Parse(text, T())) {
        const T highest = std::numeric_limits<T>::max();
        if (std::isinf(*number)) throw Outside(text, Format(-highest), Format(highest));
        return *number;
    }
    if (const auto special = ReadSpecial<T>(text)) return *special;
    throw NotANumber(text);
}

template <typename T>
QString WriteFloat(T number)
{
    return std::isnan(number) ? WriteNan(number) : Format(number);
}

template float ReadFloat<float>(QStringView);
template double ReadFloat<double>(QStringView);
template QString WriteFloat<float>(float);
template QString WriteFloat<double>(double);
