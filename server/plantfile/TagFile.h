#pragma once

#include "server/plantfile/ItemReader.h"

/// Adds the items of a CSV file: its first row names the columns, which are the keys of an item in the plant file, and
/// each further row is an item. Throws DescribedError for a file that cannot be read; what is wrong in it is noted with
/// its line.
void ReadTags(const QString& file, ItemReader& reader, const ItemOwner& owner);
