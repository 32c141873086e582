#pragma once

#include "server/sqlitehistory/PartitionFolder.h"

/// Lets statements on a connection read what is kept of each item and span (see Summary.h) as a table `name`. Hours are
/// kept beside the rows; minutes are reckoned from them as they are asked for, days from hours.
void AddSummaryTable(sqlite3* connection, const QString& name, const PartitionFolder& folder, qint64 span);
