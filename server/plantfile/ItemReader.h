#pragma once

#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"

/// Adds the item that a table of the plant file describes.
void ReadItem(FileTable table, PlantController& controller, const QString& folder);

/// Notes links of a controller's items that lead nowhere; once all items are there.
void CheckLinks(FileTable& controllerTable, const Plant& plant);
