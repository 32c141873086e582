#include "bench/RecordedHistory.h"

#include <QDir>

qint64 BytesBelow(const QString& folder)
{
    qint64 bytes = 0;
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot))
        bytes += file.isDir() ? BytesBelow(file.filePath()) : file.size();
    return bytes;
}
