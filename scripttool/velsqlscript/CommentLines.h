#pragma once

#include <QString>

/// A script without the lines whose first character that is no blank is "'": they are emptied, so that all lines keep their numbers.
/// Inside template literals, strings that go on in the next line and /* */ comments such lines stay as they are.
QString WithoutCommentLines(const QString& script);
