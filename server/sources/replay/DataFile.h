#pragma once

#include <QFile>

#include <memory>

/// Opens a file that a plant file names, to read it to its end: nothing but a regular file, of at most 1 GB, since a
/// pipe or a device may never come to one. Throws DescribedError.
std::unique_ptr<QFile> OpenDataFile(const QString& path);
