#include "server/plant/Links.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "server/plant/Convert.h"
#include "server/plant/Plant.h"
#include "server/plant/ValueSize.h"

#include <QRegularExpression>

namespace {

struct Target
{
    PlantItemRef Item;
    qsizetype Element; ///< -1 for the whole value
};

Target Find(const PlantItem& item, const QString& text)
{
    const LinkText link = ParseLink(text, item.Traits().ExtractsElement);
    Target target{item.Controller()->Owner().Resolve(*item.Controller(), link.Name), link.Element};
    if (!target.Item) throw DescribedError(QStringLiteral("the linked item \"%1\" does not exist").arg(link.Name));
    return target;
}

const SafeArray& ArrayOf(const Target& target, const Variant& value)
{
    if (!value.IsArray() || target.Element >= value.Array().Count())
        throw DescribedError(QStringLiteral("the linked item \"%1\" has no element %2")
                                 .arg(target.Item->Name(), QString::number(target.Element)));
    return value.Array();
}

Variant ReadProperty(const Target& target, LinkedProperty property)
{
    switch (property) {
    case LinkedProperty::Id: return target.Item->Id();
    case LinkedProperty::Activation: return target.Item->IsActive();
    case LinkedProperty::LinkActivation: return target.Item->IsLinkActive();
    case LinkedProperty::Value: break;
    }
    const Variant value = target.Item->Value();
    return target.Element < 0 ? value : ArrayOf(target, value).At(target.Element);
}

PendingRef WriteElement(const Target& target, const Variant& value)
{
    const Variant whole = target.Item->LastValue();
    const SafeArray& array = ArrayOf(target, whole);
    QList<Variant> elements;
    for (qsizetype i = 0; i < array.Count(); ++i) elements.append(i == target.Element ? value : array.At(i));
    return target.Item->PutValue(ConvertTo(SafeArray(std::move(elements), array.LowerBound()), whole.Type()));
}

PendingRef WriteProperty(const Target& target, LinkedProperty property, const Variant& value)
{
    switch (property) {
    case LinkedProperty::Id: target.Item->PutId(value); return nullptr;
    case LinkedProperty::Activation: target.Item->PutActivation(ToNumber(value) != 0.0); return nullptr;
    case LinkedProperty::LinkActivation: target.Item->PutLinkActivation(ToNumber(value) != 0.0); return nullptr;
    case LinkedProperty::Value: break;
    }
    return target.Element < 0 ? target.Item->PutValue(value) : WriteElement(target, value);
}

} // namespace

LinkText ParseLink(const QString& link, bool extracts)
{
    static const QRegularExpression elementForm(QStringLiteral("^(.*)\\((\\d{1,9})\\)$"),
                                                QRegularExpression::DotMatchesEverythingOption);
    if (!extracts) return {link};
    const auto match = elementForm.match(link);
    return match.hasMatch() ? LinkText{match.captured(1), match.captured(2).toLongLong()} : LinkText{link, 0};
}

Variant ReadLinks(const PlantItem& item)
{
    const ItemTraits& traits = item.Traits();
    if (traits.Kind != ItemKind::Array) return ReadProperty(Find(item, traits.Links.first()), traits.Property);
    QList<Variant> values;
    for (const QString& link : traits.Links) values.append(ReadProperty(Find(item, link), traits.Property));
    ValueSize::CheckArrayOf(values);
    return SafeArray(std::move(values));
}

PendingRef WriteLinks(const PlantItem& item, const Variant& value)
{
    const ItemTraits& traits = item.Traits();
    const bool isArray = traits.Kind == ItemKind::Array;
    if (isArray && (!value.IsArray() || value.Array().Count() != traits.Links.size()))
        throw DescribedError(QStringLiteral("it takes an array of %1 values").arg(traits.Links.size()));
    std::vector<PendingRef> pending;
    for (qsizetype i = 0; i < traits.Links.size(); ++i) {
        const Variant part = isArray ? value.Array().At(i) : value;
        pending.push_back(WriteProperty(Find(item, traits.Links[i]), traits.Property, part));
    }
    return Pending::All(pending);
}
