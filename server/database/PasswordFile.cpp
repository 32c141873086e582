#include "server/database/PasswordFile.h"

#include <QDir>
#include <QFileInfo>

QString UnsafePasswordFile(const QString& named)
{
    const QString usual = qEnvironmentVariable("PGPASSFILE", QDir::homePath() + QStringLiteral("/.pgpass"));
    const QFileInfo file(named.isEmpty() ? usual : named);
    const QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    return file.isFile() && (file.permissions() & others) ? file.filePath() : QString();
}
