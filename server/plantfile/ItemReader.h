#pragma once

#include "server/plant/LinkCheck.h"
#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"

/// Adds the item that a table of the plant file describes, unless its name makes that impossible.
void ReadItem(FileTable table, PlantController& controller, const QString& folder);

/// Notes links of a controller's items that lead nowhere, in a circle or too far; once all items are there. Circles
/// that `check` has found before are not noted again.
void CheckLinks(FileTable& controllerTable, const PlantController& controller, LinkCheck& check);
