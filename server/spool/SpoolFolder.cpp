#include "server/spool/SpoolFolder.h"

#include "core/automation/Errors.h"
#include "velsqllib/StateFolder.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

const QString s_DestinationFile = QStringLiteral("/destination");

QString DestinationOf(const QString& path)
{
    QFile file(path + s_DestinationFile);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

/// Their names begin with the time they were made, so that they sort by age.
QStringList FoldersIn(const QString& root)
{
    QStringList paths;
    for (const QString& name : QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        paths.append(root + u'/' + name);
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

/// -1 when another process holds it.
int LockOf(const QString& path)
{
    const int lock = open(QFile::encodeName(path + QStringLiteral("/lock")).constData(), O_RDWR | O_CREAT | O_CLOEXEC,
                          S_IRUSR | S_IWUSR);
    if (lock < 0 || flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
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
    for (const QString& name : QDir(m_Path).entryList({QStringLiteral("*.values")}, QDir::Files, QDir::Name))
        paths.append(m_Path + u'/' + name);
    return paths;
}

void SpoolFolder::Remove()
{
    if (!Files().isEmpty()) return; // could not be read, or removed
    QFile::remove(m_Path + QStringLiteral("/lock"));
    QFile::remove(m_Path + s_DestinationFile);
    QDir().rmdir(m_Path);
}

SpoolFolderRef SpoolFolder::Make(const QString& root, quint64 spool, const QString& destination)
{
    MakePrivateFolder(root);
    const QString path = QStringLiteral("%1/%2-%3")
                             .arg(root)
                             .arg(TimeOfNext(root), 14, 10, QChar(u'0'))
                             .arg(spool, 16, 16, QChar(u'0'));
    MakePrivateFolder(path);
    const int lock = LockOf(path);
    QFile file(path + s_DestinationFile);
    const QByteArray text = destination.toUtf8();
    if (lock < 0 || !file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        if (lock >= 0) close(lock);
        throw DescribedError(QStringLiteral("%1: %2").arg(path, qt_error_string(errno)));
    }
    return SpoolFolderRef(new SpoolFolder(path, spool, lock));
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
    for (const QString& path : FoldersIn(root)) {
        const QString destination = DestinationOf(path);
        if (destinations.contains(destination)) continue;
        const SpoolFolderRef folder = Open(path);
        if (folder && !folder->Files().isEmpty())
            lines.append(
                QStringLiteral("Values wait in %1 for a destination that is not used here: %2").arg(path, destination));
    }
    return lines;
}
