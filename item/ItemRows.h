#pragma once

#include "core/automation/ServerObjects.h"
#include "core/PropertyGrid.h"

/// The 49 rows of the item window's grid, in order. They read through `item`, which must outlive them.
PropertyRows ItemRows(const ItemRef& item);
