#pragma once

#include "trend/core/View.h"

/// Files that keep views: JSON that people can read and write, of a version.
namespace ViewFile {

inline constexpr QStringView Suffix = u".velsqltrend";
/// Larger files are none of ours.
inline constexpr qint64 MostBytes = 1'000'000;
inline constexpr int MostPens = 1000;
inline constexpr int MostLimits = 100; ///< of a pen

/// Throws DescribedError, which says what is wrong and where.
SavedView Read(const QString& path);
SavedView FromJson(const QByteArray& json);

/// Throws DescribedError.
void Write(const QString& path, const SavedView& view);
QByteArray ToJson(const SavedView& view);

} // namespace ViewFile
