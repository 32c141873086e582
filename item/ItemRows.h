#pragma once

#include "core/automation/ServerObjects.h"
#include "core/PropertyGrid.h"

/// The 49 rows of the item window's grid, in order; each keeps the item alive.
PropertyRows ItemRows(const ItemRef& item);
