#pragma once

#include <QString>

/// A script in which lines whose first non-blank character is "'" are emptied, so that all lines keep their numbers.
/// Inside template literals, strings continued on the next line and /* */ comments such lines stay.
QString WithoutCommentLines(const QString& script);
