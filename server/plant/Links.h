#pragma once

#include "server/plant/PlantItem.h"

/// A link's text, split into its parts.
struct LinkText
{
    QString Name;
    /// Index in the linked array; -1 for the whole value.
    qsizetype Element = -1;
};

/// With `extracts`, "<item>(3)" means element 3 and "<item>" element 0; otherwise parentheses belong to the name.
LinkText ParseLink(const QString& link, bool extracts);

/// What an item takes from its linked items: the property of a single one, or an array of the properties of several, in
/// order. Throws DescribedError when an item does not exist or cannot be read, or when the array is too large.
Variant ReadLinks(const PlantItem& item);

/// Passes a written value on: to one linked item unchanged, to the items of an array item element by element. What
/// devices have yet to confirm is answered.
PendingRef WriteLinks(const PlantItem& item, const Variant& value);
