#include "server/definition/DefinedItems.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "server/definition/DefinitionMaker.h"

namespace {

/// Null when the item was already there. Throws DescribedError.
PlantItemRef Add(Plant& plant, const DefinedItem& item)
{
    const PlantControllerRef controller = plant.Controller(item.Controller);
    const PlantItemRef present = controller->Find(item.Name());
    if (present && present->Traits().Definition == item.Definition) return nullptr;
    DefinitionMaker().AddItem(*controller, item.Definition);
    return controller->Item(item.Name());
}

} // namespace

QString DefinedItem::Name() const
{
    if (Definition.Type() != ArrayOf(VT_VARIANT) || Definition.Array().Count() == 0) return {};
    const Variant name = Definition.Array().At(0);
    return name.GetIf<QString>() ? name.Get<QString>() : QString();
}

QList<DefinedItem> AddDefinedItems(Plant& plant, QList<DefinedItem> items,
                                   const std::function<void(const PlantItemRef&)>& onAdded)
{
    qsizetype left = items.size() + 1;
    // Goes on as long as one item has made another possible.
    while (items.size() < left) {
        left = items.size();
        QList<DefinedItem> refused;
        for (DefinedItem& item : items) {
            try {
                const PlantItemRef added = Add(plant, item);
                if (added && onAdded) onAdded(added);
            } catch (const DescribedError& error) {
                item.Objection = error.Description();
                refused.append(item);
            }
        }
        items = refused;
    }
    return items;
}
