#include "tests/support/FakeConverter.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"

#include <QStringList>

#include <cmath>

namespace {

double Number(const QString& text)
{
    const auto number = ParseNumber(text);
    if (!number) throw ValueError::TypeMismatch();
    return *number;
}

template <typename T>
T Integer(const QString& text)
{
    const double number = std::nearbyint(Number(text));
    if (number < std::numeric_limits<T>::min() || number > std::numeric_limits<T>::max()) throw ValueError::Overflow();
    return static_cast<T>(number);
}

bool Boolean(const QString& text)
{
    if (text == FormatBool(true)) return true;
    if (text == FormatBool(false)) return false;
    return Number(text) != 0.0;
}

Currency Amount(const QString& text)
{
    return Currency{std::llround(Number(text) * 10000.0)};
}

Date PointInTime(const QString& text)
{
    const QDateTime dateTime = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    if (!dateTime.isValid()) throw ValueError::TypeMismatch();
    return FromDateTime(dateTime);
}

template <typename T, typename Parse>
Variant Make(bool array, const QString& text, Parse parse)
{
    if (!array) return Variant(T(parse(text)));
    QList<T> elements;
    const QStringList parts = text.isEmpty() ? QStringList() : text.split(u',');
    for (const QString& part : parts) elements << T(parse(part));
    return Variant(SafeArray(std::move(elements)));
}

} // namespace

Variant FakeConverter::TextToValue(const QString& typedText)
{
    const qsizetype comma = typedText.indexOf(u',');
    const auto type = static_cast<VarType>(QStringView(typedText).left(comma < 0 ? typedText.size() : comma).toInt());
    const QString text = typedText.mid(comma + 1);
    const bool array = type > VT_ARRAY;
    switch (ElementOf(type)) {
    case VT_EMPTY: return Variant();
    case VT_NULL: return Variant(Null());
    case VT_BOOL: return Make<bool>(array, text, Boolean);
    case VT_I1: return Make<qint8>(array, text, Integer<qint8>);
    case VT_UI1: return Make<quint8>(array, text, Integer<quint8>);
    case VT_I2: return Make<qint16>(array, text, Integer<qint16>);
    case VT_UI2: return Make<quint16>(array, text, Integer<quint16>);
    case VT_I4: return Make<qint32>(array, text, Integer<qint32>);
    case VT_UI4: return Make<quint32>(array, text, Integer<quint32>);
    case VT_R4: return Make<float>(array, text, [](const QString& part) { return static_cast<float>(Number(part)); });
    case VT_R8: return Make<double>(array, text, Number);
    case VT_CY: return Make<Currency>(array, text, Amount);
    case VT_DATE: return Make<Date>(array, text, PointInTime);
    case VT_BSTR: return Make<QString>(array, text, [](const QString& part) { return part; });
    default: throw ValueError::TypeMismatch();
    }
}

QString FakeConverter::ValueToText(const Variant& value, qint32 /*flags*/)
{
    const QString code = QString::number(value.Type());
    if (value.IsNull()) return code;
    if (!value.IsArray()) return code + u',' + ToPlainText(value);
    QStringList parts;
    for (qsizetype i = 0; i < value.Array().Count(); ++i) parts << ToPlainText(value.Array().At(i));
    return code + u',' + parts.join(u',');
}
