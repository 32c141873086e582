#pragma once

#include "server/added/AddedItemsFile.h"
#include "server/definition/DefinitionMaker.h"

#include <optional>

/// The items that operators have added: made from their definitions, and kept for the next server when the plant comes
/// from a file.
class AddedItems : public ItemMaker
{
public:
    explicit AddedItems(Plant& plant);

    /// The plant was read from this file: adds the items that were kept for it, and keeps new items of controllers that
    /// ask for it.
    void Keep(const QString& plantPath);
    /// Adds the items of the server that this one has replaced.
    void TakeOver(const QString& path);
    /// Writes the items for the server that replaces this one. A failure is logged.
    void HandOver(const QString& path) const;

    /// Writes again what could not be written last time, if so.
    void StoreAgain();

    void AddItem(PlantController& controller, const Variant& definition) override;
    void RemoveItem(PlantController& controller, const QString& name) override;

    /// The last definition that arrived, accepted or not; EMPTY before the first one.
    const Variant& LastDefinition() const { return m_Maker.Last(); }
    /// In the order in which they were added.
    const QList<PlantItemRef>& Items() const { return m_Items; }

private:
    void AddKept();
    bool IsKept(const QString& controller) const;
    void LogRefused(const QList<DefinedItem>& refused, const QString& file) const;
    void Store(const std::function<void()>& write);
    QList<DefinedItem> ItemsToKeep() const;

    Plant& m_Plant;
    DefinitionMaker m_Maker;
    QList<PlantItemRef> m_Items;
    std::optional<AddedItemsFile> m_File; ///< empty for the built-in plant
    /// In the file, but not in the plant.
    QList<DefinedItem> m_Aside;
    QString m_LastFailure; ///< why they could not be written; empty when they have been
};
