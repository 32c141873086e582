#pragma once

#include <QString>

/// The file of passwords that PostgreSQL's library would pass over because others may read it, which it says past the
/// log; empty where there is none. `named` is that of a connection string, or empty.
QString UnsafePasswordFile(const QString& named);
