#include "server/database/FolderNames.h"

#include "core/automation/Errors.h"

#include <QFile>

#include <cerrno>
#include <dirent.h>
#include <memory>

QStringList NamesIn(const QString& folder)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(QFile::encodeName(folder).constData()), &closedir);
    if (!opened && errno == ENOENT) return {};
    QStringList names;
    while (opened) {
        errno = 0; // tells the end from a failure
        const dirent* const entry = readdir(opened.get());
        if (!entry) break;
        const QString name = QFile::decodeName(entry->d_name);
        if (name != u"." && name != u"..") names.append(name);
    }
    if (errno != 0) throw DescribedError(QStringLiteral("%1 cannot be read: %2").arg(folder, qt_error_string(errno)));
    names.sort();
    return names;
}
