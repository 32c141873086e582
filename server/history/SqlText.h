#pragma once

#include <QString>

/// The statement as it goes to the database: without the last ";" and the comments and blanks behind it. Throws
/// DescribedError for what no database can answer here: a statement that says nothing, and PostgreSQL's COPY to or
/// from its client, after which Qt's driver never comes to an end.
QString CheckedStatement(const QString& statement, bool isPostgreSql);
