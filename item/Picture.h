#pragma once

#include <QImage>
#include <QList>

/// Writes a byte-array value unchanged into the program's picture file, which remains there. Throws DescribedError when
/// the file cannot be written; no half-written file is left behind.
void WritePictureFile(const QList<quint8>& bytes);

/// The picture that the bytes hold, in any format that Qt reads, reduced to a size suitable for a thumbnail. Throws
/// DescribedError for bytes that are not a picture, end too early, or claim an unreasonable size: memory stays bounded.
QImage ReadPicture(const QList<quint8>& bytes);
