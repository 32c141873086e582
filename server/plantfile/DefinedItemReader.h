#pragma once

#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"

/// Adds the items that a plant file gives by a definition; once all others are there.
void ReadDefinedItems(std::vector<FileTable>& controllerTables, Plant& plant);
