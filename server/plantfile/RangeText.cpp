#include "server/plantfile/RangeText.h"

#include "core/automation/Errors.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

constexpr qsizetype LongestCalculation = 100; // parentheses inside each other stay few with it

/// A text taken apart at its braces: a part, what stands in braces, a part, and so on.
struct Pieces
{
    QStringList Parts = {QString()};
    QStringList InBraces;
};

Pieces TakeApart(const QString& text)
{
    Pieces pieces;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = text[i];
        const bool isBrace = character == u'{' || character == u'}';
        if (!isBrace || text.mid(i + 1, 1) == character) { // a brace that stands twice means itself
            pieces.Parts.last() += character;
            i += isBrace ? 1 : 0;
            continue;
        }
        const qsizetype end = character == u'{' ? text.indexOf(u'}', i) : -1;
        if (end < 0)
            throw DescribedError(
                QStringLiteral("the brace %1 in \"%2\" stands alone; one that is meant itself is written twice")
                    .arg(QString(character), text));
        pieces.InBraces.append(text.sliced(i + 1, end - i - 1));
        pieces.Parts.append(QString());
        i = end;
    }
    return pieces;
}

QString Spelled(qint64 number, int digits)
{
    const QString text = QString::number(number);
    return number < 0 ? text : text.rightJustified(digits, u'0');
}

/// Reads "100+2*(n-1)": whole numbers, n, + - * and parentheses.
class Calculation
{
public:
    Calculation(const QString& text, qint64 n)
        : m_Text(text)
        , m_Left(m_Text)
        , m_N(n)
    {
    }

    qint64 Value()
    {
        if (m_Text.size() > LongestCalculation)
            throw DescribedError(
                QStringLiteral("a calculation of more than %1 characters is too long").arg(LongestCalculation));
        const qint64 value = Sum();
        if (Next() != u'\0') Refuse();
        return value;
    }

private:
    [[noreturn]] void Refuse() const
    {
        throw DescribedError(QStringLiteral("{%1} is not a calculation such as {n} or {100+2*n}").arg(m_Text));
    }

    qint64 Checked(bool overflows, const qint64& result) const
    {
        if (overflows) throw DescribedError(QStringLiteral("{%1} gives too large a number").arg(m_Text));
        return result;
    }

    /// The character that comes next, 0 at the end.
    QChar Next()
    {
        while (!m_Left.isEmpty() && m_Left.front() == u' ') m_Left = m_Left.sliced(1);
        return m_Left.isEmpty() ? QChar(u'\0') : m_Left.front();
    }

    bool Take(char16_t character)
    {
        if (Next() != character || m_Left.isEmpty()) return false;
        m_Left = m_Left.sliced(1);
        return true;
    }

    qint64 Sum()
    {
        qint64 sum = Product();
        for (;;) {
            qint64 result = 0;
            if (Take(u'+')) sum = Checked(__builtin_add_overflow(sum, Product(), &result), result);
            else if (Take(u'-')) sum = Checked(__builtin_sub_overflow(sum, Product(), &result), result);
            else return sum;
        }
    }

    qint64 Product()
    {
        qint64 product = Factor();
        while (Take(u'*')) {
            qint64 result = 0;
            product = Checked(__builtin_mul_overflow(product, Factor(), &result), result);
        }
        return product;
    }

    qint64 Factor()
    {
        if (Take(u'n')) return m_N;
        qint64 negative = 0;
        if (Take(u'-')) return Checked(__builtin_sub_overflow(qint64{0}, Factor(), &negative), negative);
        if (!Take(u'(')) return Number();
        const qint64 sum = Sum();
        if (!Take(u')')) Refuse();
        return sum;
    }

    qint64 Number()
    {
        constexpr qsizetype MostDigits = 18;
        Next();
        qsizetype length = 0;
        while (length < m_Left.size() && m_Left[length] >= u'0' && m_Left[length] <= u'9') ++length;
        if (length == 0) Refuse();
        if (length > MostDigits) Checked(true, m_N);
        const qint64 number = m_Left.first(length).toLongLong();
        m_Left = m_Left.sliced(length);
        return number;
    }

    const QString m_Text;
    QStringView m_Left;
    const qint64 m_N;
};

} // namespace

QString NameRange::NameOf(const RangeNumber& number) const
{
    return Front + Spelled(number.Value, number.Digits) + Behind;
}

NameRange ParseName(const QString& name)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,9})\\.\\.([0-9]{1,9})$"));
    const Pieces pieces = TakeApart(name);
    if (pieces.InBraces.isEmpty()) return {pieces.Parts.first()};
    if (pieces.InBraces.size() > 1) throw DescribedError(QStringLiteral("\"%1\" has more than one range").arg(name));
    const QString& text = pieces.InBraces.first();
    const auto match = form.match(text);
    if (!match.hasMatch())
        throw DescribedError(
            QStringLiteral("{%1} is not a range such as {001..500}; a brace that is meant itself is written twice")
                .arg(text));
    const QString first = match.captured(1);
    NameRange range{pieces.Parts.first(), pieces.Parts.last(), first.toLongLong(), match.captured(2).toLongLong(),
                    first.startsWith(u'0') ? static_cast<int>(first.size()) : 1};
    if (range.Last < *range.First) throw DescribedError(QStringLiteral("the range {%1} counts down").arg(text));
    if (range.Last - *range.First >= MostItems)
        throw DescribedError(
            QStringLiteral("the range {%1} is over more than %2 items").arg(text, QString::number(MostItems)));
    return range;
}

QString FillIn(const QString& text, const RangeNumber& number)
{
    if (!text.contains(u'{') && !text.contains(u'}')) return text;
    const Pieces pieces = TakeApart(text);
    QString filled = pieces.Parts.first();
    for (qsizetype i = 0; i < pieces.InBraces.size(); ++i)
        filled += Spelled(Calculation(pieces.InBraces[i], number.Value).Value(), number.Digits) + pieces.Parts[i + 1];
    return filled;
}

std::optional<qint64> OnlyNumber(const QString& text, const RangeNumber& number)
{
    if (!text.startsWith(u'{')) return std::nullopt;
    const Pieces pieces = TakeApart(text);
    if (pieces.InBraces.size() != 1 || !pieces.Parts.join(QString()).isEmpty()) return std::nullopt;
    return Calculation(pieces.InBraces.first(), number.Value).Value();
}
