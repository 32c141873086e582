#pragma once

#include "server/plant/PlantItem.h"

/// A plant's TOML with items that were added to it, as it would have to be written to have them from the start. What
/// stands in the file otherwise, comments included, stays as it is.
QString PlantTextWith(const QByteArray& toml, const QList<PlantItemRef>& added);
