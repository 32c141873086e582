#pragma once

#include "server/history/History.h"
#include "server/plantfile/FileTable.h"

/// The [history] of a plant file, with its destinations.
HistorySettings ReadHistory(FileTable table);
