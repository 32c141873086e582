#include "server/plantfile/ItemReader.h"

#include "core/automation/Errors.h"
#include "core/automation/ItemDefinition.h"
#include "server/plant/Links.h"
#include "server/plantfile/SignalReader.h"
#include "velsqllib/TypeCode.h"

namespace {

QString PlainName(QString name)
{
    return name.remove(u' ').remove(QStringLiteral("VT_"));
}

/// "I4", "VT_I4", "ARRAY|I4", "VT_ARRAY | VT_I4".
std::optional<VarType> ParseType(const QString& text)
{
    for (const VarType type : ChoosableTypes) {
        if (PlainName(text) == PlainName(TypeName(type))) return type;
        if (PlainName(text) == PlainName(TypeName(ArrayOf(type)))) return ArrayOf(type);
    }
    return std::nullopt;
}

/// None when the type is a mistake.
std::optional<VarType> ReadType(FileTable& table)
{
    const QString text = table.Text("type", QStringLiteral("VARIANT"));
    const auto type = ParseType(text);
    if (!type) table.Refuse("type", QStringLiteral("\"%1\" is not a type such as I4 or ARRAY|BSTR").arg(text));
    return type;
}

Variant ReadInitial(FileTable& table, VarType type)
{
    const Variant value = table.Value("value");
    if (value.IsEmpty()) return value;
    try {
        return ConvertTo(value, type);
    } catch (const ValueError& error) {
        table.Refuse("value", error.Description());
        return {};
    }
}

/// `isTyped`: whether the type is right; otherwise VT_VARIANT stands in for it.
ItemTraits ReadTraits(FileTable& table, bool& isTyped)
{
    ItemTraits traits;
    traits.Name = table.Name("name");
    traits.Description = table.Text("description");
    const auto type = ReadType(table);
    isTyped = type.has_value();
    traits.Type = type.value_or(VT_VARIANT);
    traits.Initial = ReadInitial(table, traits.Type);
    traits.Attribute = static_cast<Access>(table.Choice(
        "attribute", {QStringLiteral("read-write"), QStringLiteral("read-only"), QStringLiteral("write-only")}, 0));
    traits.Tag = table.Value("tag");
    traits.Id = table.Value("id");
    traits.Kind = static_cast<ItemKind>(
        table.Choice("kind", {QStringLiteral("normal"), QStringLiteral("alias"), QStringLiteral("array")}, 0));
    traits.Links = table.Texts("links");
    traits.Property =
        static_cast<LinkedProperty>(table.Choice("link_property",
                                                 {QStringLiteral("value"), QStringLiteral("id"),
                                                  QStringLiteral("activation"), QStringLiteral("link_activation")},
                                                 0));
    traits.ExtractsElement = table.Flag("extract", false);
    traits.Historic = table.Flag("history", false);
    traits.RaisesEvents = table.Flag("events", true);
    traits.Forced = static_cast<ForcedChange>(table.Choice(
        "forced_change", {QStringLiteral("never"), QStringLiteral("reading"), QStringLiteral("writing")}, 0));
    traits.ComparesArrays = table.Flag("compare_arrays", true);
    traits.TakesEmpty = table.Flag("empty", traits.Type == VT_VARIANT);
    traits.Active = table.Flag("active", true);
    traits.LinkActive = table.Flag("link_active", true);
    traits.ScanClass = table.Integer("scan", 0, 2, 0);
    traits.SettingData = table.Values("setting_data");
    return traits;
}

} // namespace

void ReadItem(FileTable table, PlantController& controller, const QString& folder)
{
    bool isTyped = false;
    ItemTraits traits = ReadTraits(table, isTyped);
    const bool isLinkWrong = table.Has("links") && !table.IsListOfTexts("links"); // said already
    SignalRef signal;
    for (FileTable& part : table.OptionalTable("signal")) {
        if (isTyped) signal = ReadSignal(std::move(part), traits.Type, folder); // else nothing can be said of it
    }
    table.RefuseOthers();
    if (table.Has("signal") && !traits.Links.isEmpty())
        table.Refuse("signal", QStringLiteral("a linked item takes its values from its link"));
    if (traits.Kind == ItemKind::Alias && traits.Links.isEmpty() && !isLinkWrong)
        table.Refuse("kind", QStringLiteral("an alias needs the item that it stands for in links"));
    if (traits.Name.isEmpty()) return;
    if (controller.Find(traits.Name))
        return table.Refuse("name", QStringLiteral("item \"%1\" exists already").arg(traits.Name));
    controller.Add(std::move(traits), std::move(signal));
}

void CheckLinks(FileTable& controllerTable, const PlantController& controller, LinkCheck& check)
{
    for (FileTable& table : controllerTable.Tables("item")) {
        const bool extracts = table.Flag("extract", false);
        for (const QString& link : table.Texts("links")) {
            const QString name = ParseLink(link, extracts).Name;
            if (!controller.Owner().Resolve(controller, name))
                table.Refuse("links", QStringLiteral("the item \"%1\" does not exist").arg(name));
        }
        const PlantItemRef item = controller.Find(table.Text("name"));
        if (item && check.Look(*item) == LinkCheck::Finding::Endless) table.Refuse("links", EndlessLinks());
    }
}
