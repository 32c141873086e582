#include "resulttext/CellText.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"

#include <QStringBuilder>

#include <cmath>

namespace {

/// Beyond it a double no longer tells one whole number from the next.
constexpr double MostExactWhole = 9'007'199'254'740'992.0;

QString DateText(Date date)
{
    try {
        return FormatDate(date, true);
    } catch (const ValueError&) {
        return FormatDouble(date.Days);
    }
}

/// Whole numbers beyond 32 bits come as doubles: counters and keys are not to be written with an exponent.
QString DoubleText(double number)
{
    const bool isWhole = std::abs(number) >= 1 && std::abs(number) <= MostExactWhole && std::trunc(number) == number;
    return isWhole ? QString::number(static_cast<qint64>(number)) : FormatDouble(number);
}

} // namespace

QString CellText(const Variant& value, ArrayText arrayText)
{
    if (!HasValue(value)) return QString();
    if (const double* number = value.GetIf<double>()) return DoubleText(*number);
    if (const float* number = value.GetIf<float>()) return FormatSingleExactly(*number);
    if (const Date* date = value.GetIf<Date>()) return DateText(*date);
    if (const auto* blob = BlobOf(value)) return Hexadecimal(*blob, blob->size());
    if (value.IsObject()) return QStringLiteral("...");
    return value.IsArray() ? arrayText(value) : ToPlainText(value);
}

bool HasValue(const Variant& value)
{
    return !value.IsNull() && !value.IsEmpty();
}

const QList<quint8>* BlobOf(const Variant& value)
{
    return value.Type() == ArrayOf(VT_UI1) ? &value.Array().Of<quint8>() : nullptr;
}

QString Hexadecimal(const QList<quint8>& bytes, qsizetype count)
{
    const auto raw = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.constData()), count);
    return u"0x" % QString::fromLatin1(raw.toHex().toUpper());
}
