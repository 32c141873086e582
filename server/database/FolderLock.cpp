#include "server/database/FolderLock.h"

#include "core/automation/Errors.h"
#include "velsqllib/StateFolder.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

FolderLock::FolderLock(const QString& file)
{
    const QString path = QFileInfo(file).path();
    MakePrivateFolder(path);
    m_Folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (const int reason = errno; m_Folder < 0 && reason != ENOENT && reason != ENOTDIR)
        throw DescribedError(QStringLiteral("%1 cannot be locked: %2").arg(path, qt_error_string(reason)));
    while (m_Folder >= 0 && flock(m_Folder, LOCK_EX) != 0 && errno == EINTR) {
    }
}

FolderLock::~FolderLock()
{
    if (m_Folder >= 0) close(m_Folder);
}
