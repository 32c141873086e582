#pragma once

#include <QString>

inline constexpr qint64 LargestScript = 16'777'216; ///< 16 MiB

/// The text of a script: of a file, or of standard input when `path` is "-". A byte order mark is left out. Throws
/// DescribedError unless it is a readable file of at most LargestScript bytes of UTF-8; `title` names the script there.
QString ReadScript(const QString& path, const QString& title);
