#pragma once

#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"

/// Lets the plant publish what a [[publish]] of the plant file says; to be called when all items are there.
void ReadPublish(FileTable table, Plant& plant);
