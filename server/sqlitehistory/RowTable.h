#pragma once

#include "server/sqlitehistory/PartitionFolder.h"

/// Lets statements on a connection read and change the rows of a folder as a table `name` with the four columns; or
/// only read them, with more columns. It belongs to no schema, so nothing of it is kept in a file.
void AddRowTable(sqlite3* connection, const QString& name, const PartitionFolder& folder, bool hasMoreColumns);
