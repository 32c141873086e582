#pragma once

#include "server/plant/PlantItem.h"

/// A link's text taken apart.
struct LinkText
{
    QString Name;
    qsizetype Element = -1; ///< of the linked array; -1: the whole value
};

/// With `extracts`, "<item>(3)" means element 3 and "<item>" element 0; else parentheses belong to the name.
LinkText ParseLink(const QString& link, bool extracts);

/// What an item takes from its linked items: of one item its property, of several an array of them, in order.
/// Throws DescribedError when an item is not there, cannot be read or the array is too large.
Variant ReadLinks(const PlantItem& item);

/// Hands a written value on: to one linked item as it is, to the items of an array item element by element.
void WriteLinks(const PlantItem& item, const Variant& value);
