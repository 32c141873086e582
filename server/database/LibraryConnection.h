#pragma once

#include "server/database/Database.h"

struct pg_conn;
struct pg_result;

/// The connection as PostgreSQL's own library knows it; null when the driver does not provide it.
pg_conn* LibraryConnection(const QSqlDatabase& database);

/// The library would write the database's notices, and that it ends, to standard error, in among the lines of the log.
void SilenceLibrary(const QSqlDatabase& database);

/// What the library says is wrong; `result` may be null when there is no answer at all.
DatabaseError ErrorOf(const pg_conn* connection, const pg_result* result);
