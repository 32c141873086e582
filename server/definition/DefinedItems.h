#pragma once

#include "server/plant/Plant.h"

#include <QList>

/// A definition, and the controller that is to have an item made by it.
struct DefinedItem
{
    QString Controller;
    Variant Definition;
    QString Objection = {}; ///< why it could not be made

    /// Empty when the definition has none.
    QString Name() const;
};

/// Adds items that may link to each other, in whatever order they come. An item that the plant has already, made by the
/// same definition, is as good as added. Returns those that the plant refuses, with its objections.
QList<DefinedItem> AddDefinedItems(Plant& plant, QList<DefinedItem> items,
                                   const std::function<void(const PlantItemRef&)>& onAdded = {});
