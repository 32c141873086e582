#include "item/ItemAccess.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/modMain.h"

#include <QStringBuilder>

using modMain::AddLog;
using modMain::Announce;

namespace {

struct Access
{
    QStringView Name;
    Variant (*Get)(VelSQLItem& item, const QString& elements);
    void (*Put)(VelSQLItem& item, const Variant& value);
};

Variant GetElements(VelSQLItem& item, const QString& elements)
{
    const auto [index1, index2, index3] = ElementIndexes(elements);
    return item.get_Elements(index1, index2, index3);
}

constexpr std::array<Access, 4> Accesses = {{
    {u"Value", [](VelSQLItem& item, const QString&) { return item.get_Value(); },
     [](VelSQLItem& item, const Variant& value) { item.put_Value(value); }},
    {u"Tag", [](VelSQLItem& item, const QString&) { return item.get_Tag(); },
     [](VelSQLItem& item, const Variant& value) { item.put_Tag(value); }},
    {u"ID", [](VelSQLItem& item, const QString&) { return item.get_ID(); },
     [](VelSQLItem& item, const Variant& value) { item.put_ID(value); }},
    // Writing Elements is the same call as writing ID, and that is meant.
    {u"Elements", GetElements, [](VelSQLItem& item, const Variant& value) { item.put_ID(value); }},
}};

const Access& AccessOf(ItemProperty property)
{
    return Accesses.at(static_cast<std::size_t>(property));
}

qint32 ToDelay(const QString& text)
{
    const std::optional<double> number = ParseNumber(text);
    if (!number) throw ValueError::TypeMismatch();
    return RoundToInt32(*number);
}

} // namespace

QStringList ItemPropertyNames()
{
    QStringList names;
    for (const Access& access : Accesses) names << access.Name.toString();
    return names;
}

Variant GetItemProperty(VelSQLItem& item, ItemProperty property, const QString& elements)
{
    const Access& access = AccessOf(property);
    Announce(u"Item", QString(u"get_" % access.Name));
    const Variant value = access.Get(item, elements);
    AddLog(QStringLiteral("Succeeded."));
    return value;
}

void PutItemProperty(VelSQLItem& item, ItemProperty property, const Variant& value, const std::optional<QString>& delay)
{
    const Access& access = AccessOf(property);
    Announce(u"Item", QString(u"put_" % access.Name % QStringView(delay ? u"Ex" : u"")));
    if (delay) item.put_ValueEx(ToDelay(*delay), value);
    else access.Put(item, value);
    AddLog(QStringLiteral("Succeeded."));
}

std::array<qint32, 3> ElementIndexes(QStringView text)
{
    std::array<qint32, 4> parts = {};
    std::size_t given = 0;
    for (const QStringView part : text.tokenize(u',')) {
        if (given == parts.size()) throw ValueError::SubscriptOutOfRange();
        parts[given++] = RoundToInt32(ParseLeadingNumber(part));
    }
    return {parts[0], parts[1], parts[2]};
}
