#include "server/plant/ValueSize.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"

namespace {

// What one takes in memory and time; a million of them reach the bound.
constexpr qint64 VariantBytes = 64;

qint64 BytesOfText(const QString& text)
{
    return text.size() * qint64{sizeof(QChar)};
}

} // namespace

void ValueSize::CheckArrayOf(const QList<Variant>& values)
{
    const Size size = ValueSize().Sum(values);
    if (size.Depth > MaxArrayDepth)
        throw ValueError(QStringLiteral("its value would be nested more than %1 arrays deep").arg(MaxArrayDepth));
    if (size.Bytes > MostBytes)
        throw ValueError(QStringLiteral("its value would be larger than %1 MB").arg(MostBytes / (1024 * 1024)));
}

ValueSize::Size ValueSize::Of(const Variant& value)
{
    if (const QString* text = value.GetIf<QString>()) return {VariantBytes + BytesOfText(*text), 0};
    if (!value.IsArray()) return {VariantBytes, 0};
    const SafeArray& array = value.Array();
    if (const auto known = m_Known.constFind(&array); known != m_Known.constEnd()) return *known;
    Size size = OfArray(array);
    size.Bytes += VariantBytes;
    m_Known.insert(&array, size);
    return size;
}

ValueSize::Size ValueSize::OfArray(const SafeArray& array)
{
    if (array.ElementType() == VT_VARIANT) return Sum(array.Of<Variant>());
    qint64 bytes = std::visit([](const auto& elements) { return elements.size() * qint64{sizeof(elements.front())}; },
                              array.Data());
    if (array.ElementType() == VT_BSTR) {
        for (const QString& text : array.Of<QString>()) bytes += BytesOfText(text);
    }
    return {bytes, 1};
}

ValueSize::Size ValueSize::Sum(const QList<Variant>& values)
{
    Size sum{0, 1};
    for (const Variant& value : values) {
        const Size size = Of(value);
        sum.Bytes = std::min(sum.Bytes + size.Bytes, MostBytes + 1); // cannot overflow like this
        sum.Depth = std::max(sum.Depth, size.Depth + 1);
    }
    return sum;
}
