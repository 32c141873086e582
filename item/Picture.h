#pragma once

#include <QImage>
#include <QList>

/// Writes a byte-array value unchanged into the program's picture file, which stays in place. Throws DescribedError
/// when the file cannot be written; no half-written file is left.
void WritePictureFile(const QList<quint8>& bytes);

/// The picture that the bytes hold, in any format that Qt reads, reduced to a size that a thumbnail can use. Throws
/// DescribedError for bytes that are not a picture, that end too early, or that claim a size beyond all reason: memory
/// stays bounded.
QImage ReadPicture(const QList<quint8>& bytes);
