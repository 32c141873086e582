#pragma once

#include <QString>

/// The names of a row's columns, as statements list them: all of them, or those of a table that is not `isOwn`.
QString RowColumns(bool isOwn);

/// PostgreSQL cannot store NUL.
QString Storable(QString text);
