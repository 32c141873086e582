#pragma once

#include "core/automation/ServerObjects.h"
#include "scripttool/velsqlscript/QueryOptions.h"

class QueryOutput;

/// Runs the statement and writes its rows as they come. Throws ServerError when the statement or reading its result
/// failed, DescribedError when the rows cannot be written; the file is then as it was.
void RunQuery(VelSQLEngine& engine, const QueryOptions& options, QueryOutput& output);
