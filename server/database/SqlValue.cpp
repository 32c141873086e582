#include "server/database/SqlValue.h"

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"

#include <QDateTime>

#include <limits>

namespace {

Variant FromInteger(qint64 number)
{
    const bool fits = number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    if (fits) return static_cast<qint32>(number);
    constexpr qint64 ExactInDouble = qint64{1} << 53;
    if (number >= -ExactInDouble && number <= ExactInDouble) return static_cast<double>(number);
    return QString::number(number);
}

Variant FromBytes(const QByteArray& bytes)
{
    return SafeArray(QList<quint8>(bytes.begin(), bytes.end()));
}

QString ElementText(const Variant& element)
{
    if (element.IsArray()) return QStringLiteral("(%1)").arg(ToSql(element).toString());
    if (element.IsObject() || element.IsNull()) return {};
    try {
        return ToPlainText(element);
    } catch (const ValueError&) {
        return ToSql(element).toString();
    }
}

/// A date that has no text, outside the years 100 to 9999, as its days: one such value must not stop all others.
QVariant DateToSql(Date date)
{
    try {
        return FormatDate(date, true);
    } catch (const ValueError&) {
        return date.Days;
    }
}

QString ArrayText(const SafeArray& array)
{
    QStringList texts;
    for (qsizetype i = 0; i < array.Count(); ++i) texts.append(ElementText(array.At(i)));
    return texts.join(u',');
}

} // namespace

Variant FromSql(const QVariant& value)
{
    if (value.isNull()) return Null{};
    switch (value.typeId()) {
    case QMetaType::Bool: return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong: // an int8 of PostgreSQL that is not negative
        return FromInteger(value.toLongLong());
    case QMetaType::Float:
    case QMetaType::Double: return value.toDouble();
    case QMetaType::QByteArray: return FromBytes(value.toByteArray());
    case QMetaType::QDate:
    case QMetaType::QDateTime: return FromDateTime(value.toDateTime());
    default: return value.toString();
    }
}

QVariant ToSql(const Variant& value)
{
    return std::visit(
        [](const auto& payload) -> QVariant {
            using T = std::decay_t<decltype(payload)>;
            if constexpr (std::is_same_v<T, bool>) return payload ? 1 : 0;
            else if constexpr (std::is_same_v<T, Currency>)
                return static_cast<double>(payload.TenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, float>) return static_cast<double>(payload);
            else if constexpr (std::is_same_v<T, double>) return payload;
            else if constexpr (std::is_integral_v<T>) return static_cast<qlonglong>(payload);
            else if constexpr (std::is_same_v<T, Date>) return DateToSql(payload);
            else if constexpr (std::is_same_v<T, QString>) return payload;
            else if constexpr (std::is_same_v<T, SafeArrayRef>) return ArrayText(*payload);
            else return QVariant();
        },
        value.Data());
}

qint64 SizeOf(const Variant& value)
{
    constexpr qint64 Fixed = 24;
    if (const QString* text = value.GetIf<QString>()) return Fixed + text->size() * qint64{sizeof(QChar)};
    if (!value.IsArray()) return Fixed;
    const SafeArray& array = value.Array();
    const VarType type = array.ElementType();
    if (type != VT_BSTR && type != VT_VARIANT) return 2 * Fixed + array.Count() * qint64{sizeof(double)};
    qint64 bytes = 2 * Fixed;
    for (qsizetype i = 0; i < array.Count(); ++i) bytes += SizeOf(array.At(i));
    return bytes;
}
