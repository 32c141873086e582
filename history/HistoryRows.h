#pragma once

#include "core/automation/ServerObjects.h"
#include "core/PropertyGrid.h"

/// The application's history. Throws ServerError when there is none.
VelSQLHistory& TheHistory();

/// The seven rows of the settings grid, in order.
PropertyRows HistoryRows();
