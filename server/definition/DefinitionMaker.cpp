#include "server/definition/DefinitionMaker.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "server/definition/DefinedRules.h"
#include "server/definition/DefinedVariable.h"
#include "server/definition/ItemMeanings.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Links.h"
#include "velsqllib/ValueText.h"

namespace {

void CheckName(const QString& name)
{
    if (name.trimmed().isEmpty()) Definition::Refuse(Element::Name, QStringLiteral("it is empty"));
    for (const QChar character : ForbiddenInNames) {
        if (name.contains(character))
            Definition::Refuse(Element::Name,
                               QStringLiteral("\"%1\" holds one of the characters %2").arg(name, ForbiddenInNames));
    }
    if (IsNumeric(name)) Definition::Refuse(Element::Name, QStringLiteral("\"%1\" is a number").arg(name));
}

QStringList LinksOf(const Definition& definition, const PlantController& controller)
{
    const QString& text = definition.Text(Element::LinkItem);
    const auto kind = definition.Meaning(Element::ItemType, ItemKinds);
    QStringList links;
    if (kind == ItemKind::Array) {
        for (const QString& link : text.split(u',', Qt::SkipEmptyParts)) links.append(link.trimmed());
    } else if (!text.isEmpty()) {
        links.append(text);
    }
    if (kind == ItemKind::Alias && links.isEmpty())
        Definition::Refuse(Element::LinkItem, QStringLiteral("an alias needs the item that it stands for"));
    for (const QString& link : links) {
        const QString name = ParseLink(link, definition.Flag(Element::ExtractLinking)).Name;
        if (!controller.Owner().Resolve(controller, name))
            Definition::Refuse(Element::LinkItem, QStringLiteral("the item \"%1\" does not exist").arg(name));
    }
    return links;
}

Variant InitialValueOf(const Definition& definition, Access attribute)
{
    // The dialog disables the initial value of read-only items, but still sends it.
    if (!definition.Flag(Element::Initialize) || attribute == Access::ReadOnly) return {};
    try {
        return ReadValueText(definition.Type(Element::InitialType), definition.Text(Element::InitialValue));
    } catch (const ValueError& error) {
        Definition::Refuse(Element::InitialValue, error.Description());
    }
}

/// Elements that the server only stores are shown with the others: element n is at n - 1, the last one at the end.
QList<Variant> SettingDataOf(const Definition& definition)
{
    QList<Variant> data;
    for (int i = 1; i <= 35; ++i) data.append(definition.Sent(static_cast<Element>(i)));
    data.append(definition.Sent(Element::ObjectOption));
    return data;
}

ItemTraits TraitsOf(const Definition& definition, const PlantController& controller)
{
    ItemTraits traits;
    traits.Name = definition.Text(Element::Name);
    traits.Description = definition.Text(Element::Description);
    traits.Kind = definition.Meaning(Element::ItemType, ItemKinds);
    traits.Attribute = definition.Meaning(Element::Attribute, Attributes);
    traits.Initial = InitialValueOf(definition, traits.Attribute);
    traits.Links = LinksOf(definition, controller);
    traits.Property = definition.Meaning(Element::LinkedProperty, LinkedProperties);
    traits.ExtractsElement = definition.Flag(Element::ExtractLinking);
    traits.Historic = definition.Flag(Element::UseHistory);
    traits.RaisesEvents = definition.Flag(Element::OnChange);
    traits.Forced = definition.Meaning(Element::Force, ForcedChanges);
    traits.ComparesArrays = definition.Flag(Element::CompareArrays);
    traits.TakesEmpty = definition.Flag(Element::UseEmpty);
    traits.Active = !definition.Flag(Element::Deactivate);
    traits.SettingData = SettingDataOf(definition);
    return traits;
}

/// The element that names the item with which an endless chain continues.
Element ElementLeadingTo(const PlantItem& next, const Definition& definition, const PlantController& controller)
{
    const auto leads = [&](const QString& name) { return controller.Owner().Resolve(controller, name).get() == &next; };
    for (const QString& link : LinksOf(definition, controller)) {
        if (leads(ParseLink(link, definition.Flag(Element::ExtractLinking)).Name)) return Element::LinkItem;
    }
    return leads(definition.Text(Element::Operand)) ? Element::Operand : Element::Operand2;
}

/// Throws ServerError when a new item's links and operands form a circle or lead too far.
void CheckChain(const PlantItem& item, const Definition& definition)
{
    LinkCheck check(LinkCheck::Along::Defined);
    if (check.Look(item) == LinkCheck::Finding::Sound) return;
    const PlantItem& next = *check.Chain().value(1, &item);
    Definition::Refuse(ElementLeadingTo(next, definition, *item.Controller()), EndlessLinks());
}

} // namespace

void DefinitionMaker::AddItem(PlantController& controller, const Variant& definition)
{
    m_Last = definition;
    const Definition checked(definition);
    CheckName(checked.Text(Element::Name));
    ItemTraits traits = TraitsOf(checked, controller);
    traits.Definition = definition;
    const PlantItemRef item = controller.AddInPlace(std::move(traits), BindDefined(checked, controller),
                                                    DefinedRules::Make(checked, controller));
    try {
        CheckChain(*item, checked);
    } catch (const ServerError&) {
        controller.Remove(item->Name());
        throw;
    }
}
