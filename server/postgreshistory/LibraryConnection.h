#pragma once

#include "server/database/Database.h"

struct pg_conn;
struct pg_result;

/// The connection as PostgreSQL's own library knows it; null when the driver does not provide it.
pg_conn* LibraryConnection(const DatabaseSession& session);

/// What the library says is wrong; `result` may be null when there is no answer at all.
DatabaseError ErrorOf(const pg_conn* connection, const pg_result* result);
