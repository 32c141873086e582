#pragma once

#include "server/plant/PlantItem.h"

/// A plant's TOML with added items written into it, as if it had had them from the start. Everything else in the file,
/// comments included, stays as it is.
QString PlantTextWith(const QByteArray& toml, const QList<PlantItemRef>& added);
