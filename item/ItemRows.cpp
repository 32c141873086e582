#include "item/ItemRows.h"

#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/modValues.h"

#include <QStringBuilder>

#include <array>

using modMain::ValueToDisplayText;
using namespace Qt::StringLiterals;

namespace {

constexpr qint32 AttributeWriteOnly = 2;
constexpr qint32 SettingDataCount = 36;

QString WithCode(const std::array<QStringView, 3>& words, qint32 code)
{
    const bool known = code >= 0 && code < static_cast<qint32>(words.size());
    const QStringView word = known ? words[static_cast<std::size_t>(code)] : QStringView(u"Unknown");
    return word % u" (" % QString::number(code) % u')';
}

QString FormatAttribute(qint32 code)
{
    return WithCode({u"Read / Write", u"Read Only", u"Write Only"}, code);
}

QString FormatState(qint32 code)
{
    return WithCode({u"Succeeded", u"Failed", u"Undefined"}, code);
}

QString JoinNames(const Variant& names)
{
    if (names.IsEmpty()) return QString();
    QStringList texts;
    for (qsizetype i = 0; i < names.Array().Count(); ++i) texts << ToPlainText(names.Array().At(i));
    return texts.join(u',');
}

PropertyRows SettingDataRows(const ItemRef& item)
{
    PropertyRows rows;
    for (qint32 i = 0; i < SettingDataCount; ++i)
        rows << PropertyRow{QStringLiteral("SettingData(%1)").arg(i),
                            [item, i] { return ToPlainText(item->get_SettingData(i)); }};
    return rows;
}

} // namespace

QString ReadableValue(VelSQLItem& item)
{
    if (item.get_Attribute() == AttributeWriteOnly) return QStringLiteral("n/a");
    return ValueToDisplayText(item.get_Value());
}

PropertyRows ItemRows(const ItemRef& item)
{
    const QString none = ValueToDisplayText(Variant());
    const PropertyRows rows = {
        {u"Index"_s, [item] { return QString::number(item->get_Index()); }},
        {u"Name"_s, [item] { return item->get_Name(); }},
        {u"Description"_s, [item] { return item->get_Description(); }},
        {u"Attribute"_s, [item] { return FormatAttribute(item->get_Attribute()); }},
        {u"LinkItem"_s, [item] { return JoinNames(item->get_LinkItem()); }},
        {u"Activation"_s, [item] { return FormatBool(item->get_Activation()); }},
        {u"LinkActivation"_s, [item] { return FormatBool(item->get_LinkActivation()); }},
        {u"State"_s, [item] { return FormatState(item->get_State()); }},
        {u"Value"_s, [item] { return ReadableValue(*item); }, none},
        {u"DateTime"_s, [item] { return ToPlainText(item->get_DateTime()); }},
        {u"Microsecond"_s, [item] { return QString::number(item->get_Microsecond()); }},
        {u"Tag"_s, [item] { return ValueToDisplayText(item->get_Tag()); }, none},
        {u"ID"_s, [item] { return ValueToDisplayText(item->get_ID()); }, none},
    };
    return rows + SettingDataRows(item);
}
