#pragma once

#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"

/// Adds the source that a [[device]] of the plant file describes. Relative paths start from `folder`.
void ReadDevice(FileTable table, Plant& plant, const QString& folder);

/// The variable of the controller's device that an entry names; null when it names none or has mistakes. `isKnown`:
/// whether the controller's device is right, else nothing can be said of its variables.
SourceVariableRef ReadVariable(FileTable& entry, const PlantController& controller, VarType type, bool isKnown);
