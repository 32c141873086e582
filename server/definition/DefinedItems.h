#pragma once

#include "server/plant/Plant.h"

#include <QList>

/// A definition, and the controller for which an item is to be made from it.
struct DefinedItem
{
    QString Controller;
    Variant Definition;
    QString Objection = {}; ///< why it could not be made
    qsizetype Number = 0;   ///< by which who gave it knows it again

    /// Empty when the definition has none.
    QString Name() const;
};

/// Adds items that may link to each other, in any order. An item that the plant already has, made from the same
/// definition, counts as added. Returns the items that the plant refuses, with its objections.
QList<DefinedItem> AddDefinedItems(Plant& plant, QList<DefinedItem> items,
                                   const std::function<void(const PlantItemRef&)>& onAdded = {});
