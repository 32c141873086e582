#include "history/CellFace.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/DisplayText.h"
#include "core/modValues.h"

#include <QStringBuilder>

namespace {

constexpr qsizetype ShownBytes = 16;

const QList<quint8>* BlobOf(const Variant& value)
{
    return value.Type() == ArrayOf(VT_UI1) ? &value.Array().Of<quint8>() : nullptr;
}

QString Hexadecimal(const QList<quint8>& bytes, qsizetype count)
{
    const auto raw = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.constData()), count);
    return u"0x" % QString::fromLatin1(raw.toHex().toUpper());
}

QString BlobFace(const QList<quint8>& bytes)
{
    const bool isWhole = bytes.size() <= ShownBytes;
    return Hexadecimal(bytes, std::min(bytes.size(), ShownBytes)) % QStringView(isWhole ? u"" : u"\u2026") % u" (" %
           QString::number(bytes.size()) % QStringView(bytes.size() == 1 ? u" byte)" : u" bytes)");
}

/// Dates outside the calendar are shown as a number of days.
QString DateText(Date date)
{
    try {
        return FormatDate(date, true);
    } catch (const ValueError&) {
        return FormatDouble(date.Days);
    }
}

QString TextOf(const Variant& value)
{
    if (value.IsNull()) return QString();
    if (const Date* date = value.GetIf<Date>()) return DateText(*date);
    const bool hasNoPlainText = value.IsArray() || value.IsObject();
    return hasNoPlainText ? modMain::ValueTextOf(modMain::ValueToTypedText(value)) : ToPlainText(value);
}

bool IsNumber(const Variant& value)
{
    return value.GetIf<Currency>() ||
           std::visit([]<typename T>(const T&) { return std::is_arithmetic_v<T> && !std::is_same_v<T, bool>; },
                      value.Data());
}

} // namespace

CellFace FaceOf(const Variant& value)
{
    if (value.IsNull()) return {QStringLiteral("NULL"), CellKind::Remark};
    if (const auto* blob = BlobOf(value)) return {BlobFace(*blob)};
    return {OneLine(TextOf(value)), IsNumber(value) ? CellKind::Number : CellKind::Text};
}

QString WholeText(const Variant& value)
{
    const auto* blob = BlobOf(value);
    return blob ? Hexadecimal(*blob, blob->size()) : TextOf(value);
}
