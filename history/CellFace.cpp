#include "history/CellFace.h"

#include "core/automation/SafeArray.h"
#include "core/DisplayText.h"
#include "core/modValues.h"
#include "resulttext/CellText.h"

#include <QStringBuilder>

namespace {

constexpr qsizetype ShownBytes = 16;

QString BlobFace(const QList<quint8>& bytes)
{
    const bool isWhole = bytes.size() <= ShownBytes;
    return Hexadecimal(bytes, std::min(bytes.size(), ShownBytes)) % QStringView(isWhole ? u"" : u"\u2026") % u" (" %
           QString::number(bytes.size()) % QStringView(bytes.size() == 1 ? u" byte)" : u" bytes)");
}

/// Of arrays the first elements: shown cells are short.
QString ShortArrayText(const Variant& value)
{
    return modMain::ValueTextOf(modMain::ValueToTypedText(value));
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
    return {OneLine(CellText(value, ShortArrayText)), IsNumber(value) ? CellKind::Number : CellKind::Text};
}

QString ArrayTextOf(const Variant& value)
{
    return modMain::ValueTextOf(modMain::Converter().ValueToText(value, 0));
}

QString WholeText(const Variant& value)
{
    return CellText(value, ArrayTextOf);
}
