#pragma once

#include <QString>

/// The script with all lines emptied whose first non-blank character is "'", so that all lines keep their numbers. Such
/// lines stay inside template literals, strings continued on the next line and /* */ comments.
QString WithoutCommentLines(const QString& script);
