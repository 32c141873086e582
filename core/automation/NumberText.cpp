#include "core/automation/NumberText.h"

#include "core/automation/Errors.h"

#include <QLocale>

#include <cmath>
#include <limits>

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

/// Where the number at the head of `text` ends; 0 when there is none.
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

QStringView SkipBlanks(QStringView text)
{
    while (!text.isEmpty() && IsBlank(text.front())) text = text.sliced(1);
    return text;
}

/// `text` is a number by NumberLength. A magnitude out of range is infinity, a vanishing one 0.
double Convert(QStringView text)
{
    bool ok = false;
    const double number = QLocale::c().toDouble(text, &ok);
    if (ok || std::isinf(number)) return number;
    // What the conversion refuses although it has the form is a magnitude beyond the range.
    return text.front() == u'-' ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
}

} // namespace

std::optional<double> ParseNumber(QStringView text)
{
    text = SkipBlanks(text);
    while (!text.isEmpty() && IsBlank(text.back())) text.chop(1);
    if (text.isEmpty() || NumberLength(text) != text.size()) return std::nullopt;
    return Convert(text);
}

bool IsNumeric(QStringView text)
{
    return ParseNumber(text).has_value();
}

double ParseLeadingNumber(QStringView text)
{
    text = SkipBlanks(text);
    const qsizetype length = NumberLength(text);
    return length > 0 ? Convert(text.first(length)) : 0.0;
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
    return QString::number(number, 'G', QLocale::FloatingPointShortest);
}

QString FormatSingle(float number)
{
    return QString::number(static_cast<double>(number), 'G', 7);
}
