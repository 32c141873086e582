#include "velsqllib/CurrencyText.h"

#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "velsqllib/TextErrors.h"

#include <limits>

namespace {

using Limits = std::numeric_limits<qint64>;

/// A number as its digits, without leading zeros: Digits * 10^Scale.
struct Decimal
{
    bool Negative = false;
    QString Digits;
    qsizetype Scale = 0;
};

/// Beyond any exponent that matters for a text that fits in memory, and far from where sums would overflow.
constexpr qsizetype FarExponent = Limits::max() / 4;

qsizetype ReadExponent(QStringView text)
{
    bool ok = false;
    const qsizetype exponent = text.toLongLong(&ok);
    if (ok) return qBound(-FarExponent, exponent, FarExponent);
    return text.startsWith(u'-') ? -FarExponent : FarExponent;
}

/// `text` is a number according to NumberLength.
Decimal Split(QStringView text)
{
    Decimal number;
    bool fraction = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar c = text[at];
        if (c == u'-') number.Negative = true;
        else if (c == u'.') fraction = true;
        else if (c == u'e' || c == u'E') {
            number.Scale += ReadExponent(text.sliced(at + 1));
            break;
        } else if (c != u'+') {
            if (c != u'0' || !number.Digits.isEmpty()) number.Digits += c;
            if (fraction) --number.Scale;
        }
    }
    return number;
}

bool RoundsUp(QStringView dropped, bool odd)
{
    if (dropped.isEmpty() || dropped.front() < u'5') return false;
    const QStringView rest = dropped.sliced(1);
    const bool half = dropped.front() == u'5' && rest.count(u'0') == rest.size();
    return !half || odd;
}

/// The ten-thousandths without their sign; empty when no amount is that large.
std::optional<quint64> TenThousandths(const Decimal& number)
{
    constexpr qsizetype MostDigits = 19;
    if (number.Digits.isEmpty()) return 0;
    const qsizetype kept = number.Digits.size() + number.Scale + 4;
    if (kept > MostDigits) return std::nullopt;
    if (kept < 0) return 0;
    const quint64 whole = number.Digits.left(kept).leftJustified(kept, u'0').toULongLong();
    return RoundsUp(QStringView(number.Digits).mid(kept), whole % 2 != 0) ? whole + 1 : whole;
}

} // namespace

Currency ReadCurrency(QStringView text)
{
    const QStringView digits = WithoutOuterBlanks(text);
    if (digits.isEmpty() || NumberLength(digits) != digits.size()) throw NotANumber(text);
    const Decimal number = Split(digits);
    const auto magnitude = TenThousandths(number);
    const quint64 highest = static_cast<quint64>(Limits::max()) + (number.Negative ? 1 : 0);
    if (!magnitude || *magnitude > highest)
        throw Outside(text, FormatCurrency(Currency{Limits::min()}), FormatCurrency(Currency{Limits::max()}));
    return Currency{static_cast<qint64>(number.Negative ? 0 - *magnitude : *magnitude)};
}
