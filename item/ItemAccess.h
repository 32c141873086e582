#pragma once

#include "core/automation/ServerObjects.h"

#include <QStringList>

#include <array>
#include <optional>

/// The properties that the item window gets and puts, in the order of its list.
enum class ItemProperty
{
    Value,
    Tag,
    ID,
    Elements
};

/// "Value", "Tag", "ID", "Elements".
QStringList ItemPropertyNames();

/// The operator's get: announced, called, logged as succeeded. `elements` is what ElementIndexes reads; throws what the call throws.
Variant GetItemProperty(VelSQLItem& item, ItemProperty property, const QString& elements);
/// The operator's put, likewise. With a `delay` (the typed milliseconds; Value only) it is a delayed write.
void PutItemProperty(VelSQLItem& item, ItemProperty property, const Variant& value,
                     const std::optional<QString>& delay);

/// The numbers at the head of up to four parts between commas, rounded; missing ones are 0. The fourth is read and dropped. Throws
/// ValueError "Subscript out of range" for a fifth part, "Overflow" for a number beyond 32 bits.
std::array<qint32, 3> ElementIndexes(QStringView text);
