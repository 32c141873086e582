#pragma once

#include <QString>

inline constexpr qint64 LargestScript = 16'777'216; ///< 16 MiB

/// The text of a script, from a file, or from standard input when `path` is "-". A byte order mark is removed. Throws
/// DescribedError unless it is a readable file of at most LargestScript bytes of UTF-8; the error calls the script
/// `title`.
QString ReadScript(const QString& path, const QString& title);
