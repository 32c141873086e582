#include "server/sources/replay/DataFile.h"

#include "core/automation/Errors.h"

#include <QFileInfo>

std::unique_ptr<QFile> OpenDataFile(const QString& path)
{
    constexpr qint64 MostBytes = qint64{1024} * 1024 * 1024;
    const QFileInfo info(path);
    if (info.exists() && (!info.isFile() || info.size() > MostBytes)) // opening a pipe would wait for its writer
        throw DescribedError(
            QStringLiteral("%1 is not a file of at most %2 MB").arg(path, QString::number(MostBytes >> 20)));
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly))
        throw DescribedError(QStringLiteral("%1 cannot be read: %2").arg(path, file->errorString()));
    return file;
}
