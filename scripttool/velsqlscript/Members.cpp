#include "scripttool/velsqlscript/Members.h"

#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/MemberCall.h"
#include "scripttool/velsqlscript/ResultRows.h"
#include "scripttool/velsqlscript/TypedValues.h"

#include <algorithm>
#include <map>

namespace {

std::vector<Member> EngineMembers()
{
    using T = VelSQLEngine;
    return {
        Function(u"Controller", &T::get_Controller),
        Function(u"Start", &T::Start),
        Function(u"Stop", &T::Stop),
        Function(u"Snapshot", &T::Snapshot),
        Function(u"Execute", &T::Execute),
        Property(u"History", &T::get_History),
        Property(u"ControllerNames", &T::get_ControllerNames),
    };
}

/// The server expects this index as an I2.
Member ControllerSettingData()
{
    return {QStringLiteral("SettingData"),
            false,
            1,
            1,
            [](const Variant& self, const Arguments& arguments) {
                return Self<VelSQLController>(self).get_SettingData(MakeTyped(VT_I2, arguments.first()));
            },
            {}};
}

std::vector<Member> ControllerMembers()
{
    using T = VelSQLController;
    return {
        Function(u"Item", &T::get_Item),
        Function(u"Start", &T::Start),
        Function(u"Stop", &T::Stop),
        Function(u"Snapshot", &T::Snapshot),
        Function(u"AddItem", &T::AddItem),
        Function(u"RemoveItem", &T::RemoveItem),
        Function(u"Execute", &T::Execute, 1),
        Property(u"Count", &T::get_Count),
        Property(u"Index", &T::get_Index),
        Property(u"ItemNames", &T::get_ItemNames),
        Function(u"ScanTimes", &T::get_ScanTimes),
        Property(u"State", &T::get_State),
        Property(u"Tag", &T::get_Tag, &T::put_Tag),
        Property(u"Description", &T::get_Description),
        Property(u"Name", &T::get_Name),
        ControllerSettingData(),
    };
}

std::vector<Member> ItemMembers()
{
    using T = VelSQLItem;
    return {
        Property(u"Value", &T::get_Value, &T::put_Value),
        Function(u"Snapshot", &T::Snapshot),
        Property(u"Activation", &T::get_Activation, &T::put_Activation),
        Property(u"DateTime", &T::get_DateTime),
        Property(u"Index", &T::get_Index),
        Property(u"LinkActivation", &T::get_LinkActivation, &T::put_LinkActivation),
        Property(u"Microsecond", &T::get_Microsecond),
        Property(u"State", &T::get_State),
        Property(u"Tag", &T::get_Tag, &T::put_Tag),
        Function(u"ValueEx", &T::put_ValueEx),
        Property(u"Attribute", &T::get_Attribute),
        Property(u"Description", &T::get_Description),
        Function(u"Elements", &T::get_Elements, 1),
        Property(u"ID", &T::get_ID, &T::put_ID),
        Property(u"LinkItem", &T::get_LinkItem),
        Property(u"Name", &T::get_Name),
        Function(u"SettingData", &T::get_SettingData),
    };
}

std::vector<Member> HistoryMembers()
{
    using T = VelSQLHistory;
    return {
        Function(u"Execute", &T::Execute),
        Function(u"ConnectionString", &T::get_ConnectionString),
        Property(u"Enabled", &T::get_Enabled),
        Function(u"MaxRecord", &T::get_MaxRecord),
        Function(u"TableName", &T::get_TableName),
        Function(u"ReadRaw", &T::ReadRaw, 1),
        Function(u"ReadProcessed", &T::ReadProcessed, 3),
    };
}

std::vector<Member> ResultMembers()
{
    using T = ResultRows;
    return {
        Property(u"Columns", &T::Columns),
        Property(u"RowCount", &T::RowCount),
        Function(u"Row", &T::Row),
        Function(u"Cell", &T::Cell),
    };
}

Member OfValue(QStringView name, Variant (*read)(const Variant& value))
{
    return {name.toString(), true, 0, 0, [read](const Variant& self, const Arguments&) { return read(self); }, {}};
}

std::vector<Member> TypedValueMembers()
{
    return {
        OfValue(u"type", [](const Variant& value) { return Variant(NameOfType(value.Type())); }),
        OfValue(u"code", [](const Variant& value) { return Variant(qint32{value.Type()}); }),
        OfValue(u"value", [](const Variant& value) { return value; }),
        OfValue(u"text", [](const Variant& value) { return Variant(TypedTextOf(value)); }),
        OfValue(u"lowerBound", LowerBoundOf),
    };
}

const Member& FindMember(ObjectKind kind, const QString& name)
{
    const std::vector<Member>& members = MembersOf(kind);
    const auto found = std::find_if(members.begin(), members.end(), [&](const Member& m) { return m.Name == name; });
    if (found == members.end()) throw ValueError::InvalidCall();
    return *found;
}

void CheckCount(const Member& member, qsizetype count)
{
    if (count >= member.RequiredArguments && count <= member.MostArguments) return;
    const QString most = QString::number(member.MostArguments);
    const QString range = member.RequiredArguments == member.MostArguments
                              ? most
                              : QStringLiteral("%1 to %2").arg(QString::number(member.RequiredArguments), most);
    throw ValueError(QStringLiteral("takes %1 %2, not %3")
                         .arg(range,
                              member.MostArguments == 1 ? QStringLiteral("argument") : QStringLiteral("arguments"),
                              QString::number(count)));
}

/// The description of a refused value gets the member's name; the server's own words stay unchanged.
template <typename Action>
auto NamingTheMember(const ScriptHandle& object, const QString& name, Action action)
{
    try {
        return action();
    } catch (const ValueError& error) {
        throw ValueError(QStringLiteral("%1.%2: %3").arg(KindName(object.Kind), name, error.Description()));
    }
}

} // namespace

const std::vector<Member>& MembersOf(ObjectKind kind)
{
    static const std::map<ObjectKind, std::vector<Member>> All = {
        {ObjectKind::Engine, EngineMembers()},
        {ObjectKind::Controller, ControllerMembers()},
        {ObjectKind::Item, ItemMembers()},
        {ObjectKind::History, HistoryMembers()},
        {ObjectKind::ResultSet, ResultMembers()},
        {ObjectKind::TypedValue, TypedValueMembers()},
        {ObjectKind::Unknown, {}},
    };
    return All.at(kind);
}

Variant ReadMember(const ScriptHandle& object, const QString& name, const Arguments& arguments)
{
    return NamingTheMember(object, name, [&] {
        const Member& member = FindMember(object.Kind, name);
        CheckCount(member, arguments.size());
        return member.Get(object.Value, arguments);
    });
}

void WriteMember(const ScriptHandle& object, const QString& name, const Variant& value)
{
    NamingTheMember(object, name, [&] { FindMember(object.Kind, name).Put(object.Value, value); });
}
