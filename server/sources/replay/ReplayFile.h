#pragma once

#include "server/sources/replay/ReplaySignal.h"

/// Reads a CSV file of recorded values: a line holds a time stamp ("yyyy-MM-dd hh:mm:ss" with decimals, or seconds), a
/// comma and a value of `type`, spelled as value texts are. Empty lines and lines that begin with "#" are skipped.
/// Throws DescribedError that names file and line.
std::vector<ReplayedValue> ReadReplayFile(const QString& path, VarType type);
