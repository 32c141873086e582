#include "server/plantfile/ItemReader.h"

#include "core/automation/Errors.h"
#include "core/automation/ItemDefinition.h"
#include "server/plant/Convert.h"
#include "server/plant/DurationText.h"
#include "server/plant/Links.h"
#include "server/plantfile/DefinitionToml.h"
#include "server/plantfile/DeviceReader.h"
#include "server/plantfile/SignalReader.h"
#include "velsqllib/TypeCode.h"

#include <QHash>

namespace {

QString PlainName(QString name)
{
    return name.remove(u' ').remove(QStringLiteral("VT_"));
}

QHash<QString, VarType> TypesByName()
{
    QHash<QString, VarType> types;
    for (const VarType type : ChoosableTypes) {
        types.insert(PlainName(TypeName(type)), type);
        types.insert(PlainName(TypeName(ArrayOf(type))), ArrayOf(type));
    }
    return types;
}

/// "I4", "VT_I4", "ARRAY|I4", "VT_ARRAY | VT_I4".
std::optional<VarType> ParseType(const QString& text)
{
    static const QHash<QString, VarType> types = TypesByName();
    auto type = types.constFind(text);
    if (type == types.constEnd()) type = types.constFind(PlainName(text));
    return type == types.constEnd() ? std::nullopt : std::optional(*type);
}

const QStringList s_Attributes = {QStringLiteral("read-write"), QStringLiteral("read-only"),
                                  QStringLiteral("write-only")};
const QStringList s_Kinds = {QStringLiteral("normal"), QStringLiteral("alias"), QStringLiteral("array")};
const QStringList s_LinkProperties = {QStringLiteral("value"), QStringLiteral("id"), QStringLiteral("activation"),
                                      QStringLiteral("link_activation")};
const QStringList s_ForcedChanges = {QStringLiteral("never"), QStringLiteral("reading"), QStringLiteral("writing")};

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
    const Variant value = table.Value("value", type != VT_VARIANT);
    if (value.IsEmpty()) return value;
    try {
        return ConvertTo(value, type);
    } catch (const ValueError& error) {
        table.Refuse("value", error.Description());
        return {};
    }
}

double ReadChange(FileTable& table)
{
    const double change = table.Number("change", 0);
    if (change < 0) table.Refuse("change", QStringLiteral("it must not be negative"));
    return change;
}

std::chrono::microseconds ReadLongestSilence(FileTable& table)
{
    const QString text = table.Text("at_least");
    try {
        if (!text.isEmpty()) return ReadDuration(text);
    } catch (const ValueError& error) {
        table.Refuse("at_least", error.Description());
    }
    return {};
}

std::optional<RecordRule> ReadRecordRule(FileTable& table, bool isHistoric)
{
    for (FileTable& part : table.OptionalTable("record")) {
        const RecordRule rule{ReadChange(part), ReadLongestSilence(part)};
        part.RefuseOthers();
        if (!isHistoric) table.Refuse("record", QStringLiteral("nothing is recorded without history = true"));
        return rule;
    }
    return std::nullopt;
}

/// All but the name. `isTyped`: whether the type is right; otherwise VT_VARIANT stands in for it.
ItemTraits ReadTraits(FileTable& table, bool& isTyped)
{
    ItemTraits traits;
    traits.Description = table.Text("description");
    const auto type = ReadType(table);
    isTyped = type.has_value();
    traits.Type = type.value_or(VT_VARIANT);
    traits.Initial = ReadInitial(table, traits.Type);
    traits.Attribute = static_cast<Access>(table.Choice("attribute", s_Attributes, 0));
    traits.Tag = table.Value("tag");
    traits.Id = table.Value("id");
    traits.Kind = static_cast<ItemKind>(table.Choice("kind", s_Kinds, 0));
    traits.Links = table.Texts("links");
    traits.Property = static_cast<LinkedProperty>(table.Choice("link_property", s_LinkProperties, 0));
    traits.ExtractsElement = table.Flag("extract", false);
    traits.Historic = table.Flag("history", false);
    traits.RaisesEvents = table.Flag("events", true);
    traits.Forced = static_cast<ForcedChange>(table.Choice("forced_change", s_ForcedChanges, 0));
    traits.ComparesArrays = table.Flag("compare_arrays", true);
    traits.TakesEmpty = table.Flag("empty", traits.Type == VT_VARIANT);
    traits.Active = table.Flag("active", true);
    traits.LinkActive = table.Flag("link_active", true);
    traits.ScanClass = table.Integer("scan", 0, 2, 0);
    traits.SettingData = table.Values("setting_data");
    return traits;
}

} // namespace

ItemReader::ItemReader(Plant& plant, QString folder, Mistakes& mistakes, ReadingProgress& progress)
    : m_Plant(plant)
    , m_Folder(std::move(folder))
    , m_Mistakes(mistakes)
    , m_Progress(progress)
{
}

void ItemReader::Read(FileTable entry, const ItemOwner& owner)
{
    if (entry.Has("definition")) return NoteDefinition(std::move(entry), owner);
    const QString name = entry.Name("name");
    try {
        const NameRange range = ParseName(name);
        if (!range.First) return ReadOne(std::move(entry), range.Front, owner);
        for (RangeNumber number{*range.First, range.Digits}; number.Value <= range.Last && !IsFull(); ++number.Value)
            ReadOne(entry.WithNumber(number), range.NameOf(number), owner);
    } catch (const DescribedError& error) {
        entry.Refuse("name", error.Description());
        ReadOne(std::move(entry), QString(), owner); // for the other mistakes in it
    }
}

void ItemReader::ReadOne(FileTable entry, const QString& name, const ItemOwner& owner)
{
    bool isTyped = false;
    ItemTraits traits = ReadTraits(entry, isTyped);
    traits.Name = name;
    const bool isLinkWrong = entry.Has("links") && !entry.IsListOfTexts("links"); // said already
    SourceVariableRef variable =
        ReadVariable(entry, owner.Controller, traits.Type, isTyped && owner.IsDeviceKnown && !name.isEmpty());
    for (FileTable& part : entry.OptionalTable("signal")) {
        if (isTyped) variable = ReadSignal(std::move(part), traits.Type, m_Folder); // else nothing can be said of it
    }
    traits.Recorded = ReadRecordRule(entry, traits.Historic);
    entry.RefuseOthers();
    if (entry.Has("signal") && entry.Has("variable"))
        entry.Refuse("signal", QStringLiteral("an item with a variable takes its values from there"));
    for (const char* key : {"signal", "variable"}) {
        if (entry.Has(key) && !traits.Links.isEmpty())
            entry.Refuse(key, QStringLiteral("a linked item takes its values from its link"));
    }
    if (traits.Kind == ItemKind::Alias && traits.Links.isEmpty() && !isLinkWrong)
        entry.Refuse("kind", QStringLiteral("an alias needs the item that it stands for in links"));
    if (!traits.Links.isEmpty())
        m_Linked.push_back({owner.Controller, name, traits.Links, traits.ExtractsElement, entry.PlaceOf("links")});
    if (name.isEmpty()) return;
    if (m_Progress.Add() > MostItems)
        return entry.Refuse("name", QStringLiteral("a plant has at most %1 items").arg(MostItems));
    if (!owner.Controller.AddNew(std::move(traits), std::move(variable)))
        entry.Refuse("name", QStringLiteral("item \"%1\" exists already").arg(name));
}

void ItemReader::NoteDefinition(FileTable entry, const ItemOwner& owner)
{
    const Variant definition = DefinitionFromToml(entry.Values("definition"));
    entry.RefuseOthers();
    if (!m_Plant.Find(owner.Name)) return; // it has no name, which has been noted
    m_Defined.append({owner.Name, definition, {}, static_cast<qsizetype>(m_DefinedAt.size())});
    m_DefinedAt.push_back(entry.PlaceOf("definition"));
}

void ItemReader::Finish()
{
    for (const DefinedItem& refused : AddDefinedItems(m_Plant, m_Defined))
        m_DefinedAt[static_cast<std::size_t>(refused.Number)].Refuse("definition", refused.Objection);
    LinkCheck check(LinkCheck::Along::Defined);
    for (const Linked& linked : m_Linked) CheckLinks(linked, check);
}

/// Notes links that lead nowhere, in a circle or too far. Circles that `check` has found before are not noted again.
void ItemReader::CheckLinks(const Linked& linked, LinkCheck& check)
{
    for (const QString& link : linked.Links) {
        const QString name = ParseLink(link, linked.Extracts).Name;
        if (!m_Plant.Resolve(linked.Controller, name))
            linked.At.Refuse("links", QStringLiteral("the item \"%1\" does not exist").arg(name));
    }
    const PlantItemRef item = linked.Controller.Find(linked.Name);
    if (item && check.Look(*item) == LinkCheck::Finding::Endless) linked.At.Refuse("links", EndlessLinks());
}

QStringList ItemReader::Keys()
{
    Mistakes unsaid{QString()};
    const toml::table nothing;
    FileTable entry(nothing, unsaid);
    bool isTyped = false;
    entry.Name("name");
    entry.Values("definition");
    for (const char* key : {"variable", "option"}) entry.Text(key);
    ReadTraits(entry, isTyped);
    QStringList keys;
    for (const char* key : entry.Known()) keys.append(QString::fromUtf8(key));
    for (const QString& key : SignalKeys()) keys.append(QStringLiteral("signal.%1").arg(key));
    return keys + QStringList{QStringLiteral("record.change"), QStringLiteral("record.at_least")};
}
