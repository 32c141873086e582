#pragma once

#include "core/automation/ServerObjects.h"
#include "core/PropertyGrid.h"

/// The 49 rows of the item window's grid, in order; each keeps the item alive.
PropertyRows ItemRows(const ItemRef& item);
/// The value as the grid shows it. Never asks a write-only item for it: "n/a". Throws what the item throws.
QString ReadableValue(VelSQLItem& item);
