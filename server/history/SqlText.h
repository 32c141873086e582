#pragma once

#include <QString>

/// The statement as it is sent to the database: without the last ";" and the comments and blanks after it. Throws
/// DescribedError for statements that no database can answer here: an empty one, and PostgreSQL's COPY to or from its
/// client, after which Qt's driver never returns.
QString CheckedStatement(const QString& statement, bool isPostgreSql);
