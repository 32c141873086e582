#pragma once

#include "trend/picture/TrendPainter.h"

/// Pictures that leave the program.
namespace PictureFile {

/// How large a picture becomes, in logical pixels; `Ratio` pixels of the file for each.
struct Format
{
    QSize Size{1600, 600};
    double Ratio = 1;
};

inline constexpr int LargestSide = 10'000; ///< of the file's pixels

/// Throws DescribedError for a name or a format that Write refuses.
void Check(const QString& path, const Format& format);

/// Also for the clipboard.
QImage Image(const PictureContent& content, const Format& format, const PictureColours& colours);

/// Writes PNG, SVG or PDF, as the name ends. PDF is a page A4 across, whatever the format says. Throws DescribedError,
/// also for other names and for formats without a pixel or beyond LargestSide.
void Write(const QString& path, const PictureContent& content, const Format& format, const PictureColours& colours);

} // namespace PictureFile
