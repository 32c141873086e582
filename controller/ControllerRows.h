#pragma once

#include "core/automation/ServerObjects.h"
#include "core/PropertyGrid.h"

/// The 30 rows of the controller window's grid, in order; each keeps the controller alive.
PropertyRows ControllerRows(const ControllerRef& controller);

/// A state code as the grid shows it: "1 (Active)", "9 (Unknown)".
QString StateText(qint32 state);
