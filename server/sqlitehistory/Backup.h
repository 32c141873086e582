#pragma once

#include "server/database/HistoryDestination.h"

/// Writes all rows of a history, which may be recorded into meanwhile, to a new SQLite file: the table velsql_values
/// and, as a view, the history's table with its four columns. The file can be queried as it is, or be the database of
/// a history, which takes its rows over. Returns how many rows there are. Throws DescribedError, and leaves no file
/// then.
qint64 BackUpHistory(const HistoryDestination& from, const QString& path);
