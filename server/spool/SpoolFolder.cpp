#include "server/spool/SpoolFolder.h"

#include "core/automation/Errors.h"
#include "server/database/FolderNames.h"
#include "velsqllib/StateFolder.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

const QString s_DestinationFile = QStringLiteral("/destination");
const QString s_LockFile = QStringLiteral("/lock");

[[noreturn]] void ThrowReason(const QString& path, const QString& reason)
{
    throw DescribedError(QStringLiteral("%1: %2").arg(path, reason));
}

/// Empty when nobody has noted one. Throws DescribedError when it cannot be read at present.
QString DestinationOf(const QString& path)
{
    QFile file(path + s_DestinationFile);
    if (!file.exists()) return {};
    if (!file.open(QIODevice::ReadOnly)) ThrowReason(file.fileName(), file.errorString());
    const QByteArray text = file.readAll();
    if (file.error() != QFile::NoError) ThrowReason(file.fileName(), file.errorString());
    return QString::fromUtf8(text).trimmed();
}

void NoteDestination(const QString& path, const QString& destination)
{
    QFile file(path + s_DestinationFile);
    const QByteArray text = destination.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush())
        ThrowReason(file.fileName(), file.errorString());
}

/// Their names begin with the time they were made, so that they sort by age.
QStringList FoldersIn(const QString& root)
{
    QStringList paths;
    for (const QString& name : NamesIn(root))
        if (const QString path = root + u'/' + name; QFileInfo(path).isDir()) paths.append(path);
    return paths;
}

/// Milliseconds since 1970, or later: the clock may have been set back since the last one was made.
qint64 TimeOfNext(const QString& root)
{
    const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const QStringList there = FoldersIn(root);
    const qint64 last = there.isEmpty() ? 0 : there.last().section(u'/', -1).section(u'-', 0, 0).toLongLong();
    return std::max<qint64>(now.time_since_epoch().count(), last + 1);
}

/// A folder without values.
void Erase(const QString& path)
{
    QFile::remove(path + s_LockFile);
    QFile::remove(path + s_DestinationFile);
    QDir().rmdir(path);
}

/// -1 when another process holds it, or has just removed it. Throws DescribedError.
int LockOf(const QString& path)
{
    const QString name = path + s_LockFile;
    const int lock = open(QFile::encodeName(name).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (lock < 0 && errno == ENOENT) return -1;
    if (lock < 0) ThrowReason(name, qt_error_string(errno));
    if (flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
    close(lock);
    return -1;
}

} // namespace

SpoolFolder::SpoolFolder(QString path, quint64 spool, int lock)
    : m_Path(std::move(path))
    , m_Spool(spool)
    , m_Lock(lock)
{
}

SpoolFolder::~SpoolFolder()
{
    close(m_Lock);
}

QStringList SpoolFolder::Files() const
{
    QStringList paths;
    for (const QString& name : NamesIn(m_Path))
        if (name.endsWith(QStringLiteral(".values"))) paths.append(m_Path + u'/' + name);
    return paths;
}

void SpoolFolder::Remove()
{
    try {
        if (!Files().isEmpty()) return; // could not be removed
    } catch (const DescribedError&) {
        return; // the next server looks
    }
    Erase(m_Path);
}

SpoolFolderRef SpoolFolder::Make(const QString& root, quint64 spool, const QString& destination)
{
    MakePrivateFolder(root);
    const QString path =
        root + QStringLiteral("/%1-%2").arg(TimeOfNext(root), 14, 10, QChar(u'0')).arg(spool, 16, 16, QChar(u'0'));
    MakePrivateFolder(path);
    try {
        const int lock = LockOf(path);
        if (lock < 0) ThrowReason(path, QStringLiteral("it cannot be made"));
        SpoolFolderRef folder(new SpoolFolder(path, spool, lock));
        NoteDestination(path, destination);
        return folder;
    } catch (const DescribedError&) {
        Erase(path); // it is tried again soon, with another one
        throw;
    }
}

SpoolFolderRef SpoolFolder::Open(const QString& path)
{
    bool isNumber = false;
    const quint64 spool = path.section(u'-', -1).toULongLong(&isNumber, 16);
    const int lock = isNumber ? LockOf(path) : -1;
    return lock < 0 ? nullptr : SpoolFolderRef(new SpoolFolder(path, spool, lock));
}

std::vector<SpoolFolderRef> SpoolFolder::LeftFor(const QString& root, const QString& destination)
{
    std::vector<SpoolFolderRef> folders;
    for (const QString& path : FoldersIn(root)) {
        if (DestinationOf(path) != destination) continue;
        SpoolFolderRef folder = Open(path);
        // Another server may just be looking whose it is.
        for (int tries = 0; !folder && tries < 5; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            folder = Open(path);
        }
        if (folder) folders.push_back(std::move(folder));
    }
    return folders;
}

QStringList SpoolFolder::LeftForOthers(const QString& root, const QStringList& destinations)
{
    QStringList lines;
    QStringList folders;
    try {
        folders = FoldersIn(root);
    } catch (const DescribedError& error) {
        lines.append(error.Description());
    }
    for (const QString& path : folders) {
        try {
            const QString destination = DestinationOf(path);
            if (destinations.contains(destination)) continue;
            const SpoolFolderRef folder = Open(path);
            if (folder && !folder->Files().isEmpty())
                lines.append(QStringLiteral("Values wait in %1 for a destination that is not used here: %2")
                                 .arg(path, destination));
        } catch (const DescribedError& error) {
            lines.append(QStringLiteral("Nobody knows for whom values wait: ") + error.Description());
        }
    }
    return lines;
}
