#include "server/database/PrivateFile.h"

#include "core/automation/Errors.h"
#include "velsqllib/StateFolder.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t OfFile = 0600;
constexpr mode_t OfFolder = 0700;

void TakeAway(const QString& path, mode_t mode)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status
    {
    };
    const bool isOpenToOthers = lstat(name.constData(), &status) == 0 && !S_ISLNK(status.st_mode) &&
                                status.st_uid == geteuid() && (status.st_mode & 07777 & ~mode) != 0;
    if (isOpenToOthers) chmod(name.constData(), status.st_mode & mode);
}

} // namespace

void MakePrivateFile(const QString& path)
{
    MakePrivateFolder(QFileInfo(path).absolutePath());
    // Closing a file releases the locks that SQLite holds on it. So this never opens a file that exists already or that
    // another thread is about to open.
    static std::mutex guard;
    const std::lock_guard lock(guard);
    const int file = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, OfFile);
    if (file >= 0) close(file);
    else if (const QString reason = qt_error_string(errno); !QFile::exists(path))
        throw DescribedError(QStringLiteral("%1 cannot be made: %2").arg(path, reason)); // others would make it for all
}

void TakeFromOthers(const QString& path)
{
    TakeAway(QFileInfo(path).absolutePath(), OfFolder);
    for (const char16_t* companion : {u"", u"-wal", u"-shm", u"-journal"})
        TakeAway(path + QString::fromUtf16(companion), OfFile);
}

void MendSharedMemoryFile(const QString& database)
{
    const QString path = database + QStringLiteral("-shm");
    const bool isStale = QFileInfo::exists(path) && !QFileInfo(path).isWritable() && QFileInfo(database).isWritable();
    if (isStale) QFile::setPermissions(path, QFileInfo(database).permissions());
}
