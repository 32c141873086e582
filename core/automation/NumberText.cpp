#include "core/automation/NumberText.h"

#include "core/automation/Errors.h"

#include <QVarLengthArray>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

#include <locale.h>

namespace {

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool IsBlank(QChar c)
{
    return c == u' ' || c == u'\t';
}

qsizetype SkipDigits(QStringView text, qsizetype at)
{
    while (at < text.size() && IsDigit(text[at])) ++at;
    return at;
}

qsizetype SkipSign(QStringView text, qsizetype at)
{
    return at < text.size() && (text[at] == u'+' || text[at] == u'-') ? at + 1 : at;
}

/// The end of the exponent that starts at `at`, or `at` when there is none.
qsizetype SkipExponent(QStringView text, qsizetype at)
{
    if (at >= text.size() || (text[at] != u'E' && text[at] != u'e')) return at;
    const qsizetype digits = SkipSign(text, at + 1);
    const qsizetype end = SkipDigits(text, digits);
    return end > digits ? end : at;
}

QStringView SkipBlanks(QStringView text)
{
    while (!text.isEmpty() && IsBlank(text.front())) text = text.sliced(1);
    return text;
}

/// Passes `text`, a number by NumberLength, to one of the C library's readers. They round correctly, give infinity or 0
/// for magnitudes out of range, and get the locale as an argument.
template <typename Reader>
auto Convert(QStringView text, Reader reader)
{
    static const locale_t CLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    QVarLengthArray<char, 64> ascii;
    for (const QChar c : text) ascii.append(c.toLatin1());
    ascii.append('\0');
    return reader(ascii.constData(), nullptr, CLocale);
}

/// The number that makes up the whole of `text`.
template <typename Reader>
auto ConvertWhole(QStringView text, Reader reader) -> std::optional<decltype(reader(nullptr, nullptr, locale_t()))>
{
    text = WithoutOuterBlanks(text);
    if (text.isEmpty() || NumberLength(text) != text.size()) return std::nullopt;
    return Convert(text, reader);
}

/// The parts of what std::to_chars wrote in its scientific format, such as "-1.500000e+07".
struct Decimal
{
    QString Sign;
    /// Without the zeros at the end; the decimal point follows the first digit.
    QString Digits;
    int Exponent = 0;

    explicit Decimal(std::string_view scientific)
    {
        const auto e = scientific.find('e');
        const int sign = scientific[e + 1] == '-' ? -1 : 1;
        std::from_chars(&scientific[e + 2], scientific.data() + scientific.size(), Exponent);
        Exponent *= sign;
        for (const char c : scientific.substr(0, e)) {
            if (c == '-') Sign = u'-';
            else if (c != '.') Digits += QLatin1Char(c);
        }
        while (Digits.size() > 1 && Digits.endsWith(u'0')) Digits.chop(1);
    }

    QString Plain() const
    {
        if (Exponent < 0) return Sign + QStringLiteral("0.") + QString(-Exponent - 1, u'0') + Digits;
        if (Digits.size() <= Exponent + 1) return Sign + Digits.leftJustified(Exponent + 1, u'0');
        return Sign + Digits.left(Exponent + 1) + u'.' + Digits.sliced(Exponent + 1);
    }

    QString Scientific() const
    {
        const QString fraction = Digits.size() > 1 ? u'.' + Digits.sliced(1) : QString();
        const QString power = QString::number(std::abs(Exponent)).rightJustified(2, u'0');
        return Sign + Digits.front() + fraction + u'E' + (Exponent < 0 ? u'-' : u'+') + power;
    }
};

/// Plain from 0.0001 up to 10 to the power of `plainDigits`. `precision` as for std::to_chars; without it, the shortest
/// text.
template <typename T, typename... Precision>
QString Format(T number, int plainDigits, Precision... precision)
{
    if (std::isnan(number)) return QStringLiteral("NaN");
    if (std::isinf(number)) return number < 0 ? QStringLiteral("-Infinity") : QStringLiteral("Infinity");
    char buffer[40];
    const auto end =
        std::to_chars(std::begin(buffer), std::end(buffer), number, std::chars_format::scientific, precision...);
    const Decimal decimal(std::string_view(buffer, static_cast<std::size_t>(end.ptr - buffer)));
    const bool plain = decimal.Exponent >= -4 && decimal.Exponent < plainDigits;
    return plain ? decimal.Plain() : decimal.Scientific();
}

} // namespace

qsizetype NumberLength(QStringView text)
{
    const qsizetype whole = SkipSign(text, 0);
    qsizetype end = SkipDigits(text, whole);
    qsizetype digits = end - whole;
    if (end < text.size() && text[end] == u'.') {
        const qsizetype fraction = SkipDigits(text, end + 1);
        digits += fraction - end - 1;
        end = fraction;
    }
    return digits > 0 ? SkipExponent(text, end) : 0;
}

QStringView WithoutOuterBlanks(QStringView text)
{
    text = SkipBlanks(text);
    while (!text.isEmpty() && IsBlank(text.back())) text.chop(1);
    return text;
}

std::optional<double> ParseNumber(QStringView text)
{
    return ConvertWhole(text, strtod_l);
}

std::optional<float> ParseSingle(QStringView text)
{
    return ConvertWhole(text, strtof_l);
}

bool IsNumeric(QStringView text)
{
    return ParseNumber(text).has_value();
}

double ParseLeadingNumber(QStringView text)
{
    text = SkipBlanks(text);
    const qsizetype length = NumberLength(text);
    return length > 0 ? Convert(text.first(length), strtod_l) : 0.0;
}

qint32 RoundToInt32(double number)
{
    const double rounded = std::nearbyint(number);
    if (!(rounded >= std::numeric_limits<qint32>::min() && rounded <= std::numeric_limits<qint32>::max()))
        throw ValueError::Overflow();
    return static_cast<qint32>(rounded);
}

QString FormatDouble(double number)
{
    return Format(number, 15);
}

QString FormatSingle(float number)
{
    return Format(number, 7, 6); // six digits behind the first
}

QString FormatSingleExactly(float number)
{
    return Format(number, 7);
}
