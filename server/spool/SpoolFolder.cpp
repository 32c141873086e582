#include "server/spool/SpoolFolder.h"

#include "core/automation/Errors.h"
#include "server/database/FolderNames.h"
#include "server/spool/SharedTail.h"
#include "server/spool/SpoolFrame.h"
#include "velsqllib/StateFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

const QString s_DestinationFile = QStringLiteral("/destination");
const QString s_LockFile = QStringLiteral("/lock");
const QString s_Unfinished = QStringLiteral(".new"); // ends the name of a folder that nobody may take yet
constexpr qint64 LongestMaking = 60'000;             // milliseconds

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

/// Milliseconds since 1970.
qint64 TimeOf(const QString& path)
{
    return path.section(u'/', -1).section(u'-', 0, 0).toLongLong();
}

/// 0 when it is no spool's.
quint64 SpoolOf(const QString& path)
{
    return path.section(u'-', -1).toULongLong(nullptr, 16);
}

/// Behind the files of earlier values. Values that are in one of these as well are read once.
void Save(const QByteArray& frames, const QString& folder)
{
    QSaveFile file(folder + QStringLiteral("/%1-tail.values").arg(FrameHeader::Read(frames)->First, 20, 10, QChar(u'0')));
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly) || file.write(frames) != frames.size() || !file.commit())
        ThrowReason(file.fileName(), file.errorString());
}

/// Milliseconds since 1970, or later: the clock may have been set back since the last one was made.
qint64 TimeOfNext(const QString& root)
{
    const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const QStringList there = FoldersIn(root);
    const qint64 last = there.isEmpty() ? 0 : TimeOf(there.last());
    return std::max<qint64>(now.time_since_epoch().count(), last + 1);
}

/// A folder without values.
void Erase(const QString& path)
{
    QFile::remove(path + s_LockFile);
    QFile::remove(path + s_DestinationFile);
    QDir().rmdir(path);
}

/// What servers left that were killed while they made a folder.
void EraseUnfinished(const QString& root, qint64 now)
{
    for (const QString& path : FoldersIn(root))
        if (path.endsWith(s_Unfinished) && TimeOf(path) < now - LongestMaking) Erase(path);
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
    const qint64 time = TimeOfNext(root);
    EraseUnfinished(root, time);
    return MakeAt(time, root, spool, destination);
}

SpoolFolderRef SpoolFolder::MakeAt(qint64 time, const QString& root, quint64 spool, const QString& destination)
{
    const QString path =
        root + QStringLiteral("/%1-%2").arg(time, 14, 10, QChar(u'0')).arg(spool, 16, 16, QChar(u'0'));
    const QString unfinished = path + s_Unfinished;
    MakePrivateFolder(unfinished);
    try {
        const int lock = LockOf(unfinished);
        if (lock < 0) ThrowReason(unfinished, QStringLiteral("it cannot be made"));
        SpoolFolderRef folder(new SpoolFolder(path, spool, lock));
        NoteDestination(unfinished, destination);
        // From now on others see it, locked and with its destination.
        if (rename(QFile::encodeName(unfinished).constData(), QFile::encodeName(path).constData()) != 0)
            ThrowReason(path, qt_error_string(errno));
        return folder;
    } catch (const DescribedError&) {
        Erase(unfinished); // it is tried again soon, with another one
        throw;
    }
}

SpoolFolderRef SpoolFolder::Open(const QString& path)
{
    const quint64 spool = SpoolOf(path);
    const int lock = spool > 0 ? LockOf(path) : -1;
    if (lock < 0) return nullptr;
    return SpoolFolderRef(new SpoolFolder(path, spool, lock));
}

/// What only shared memory has of servers that were killed is put on disk.
void SpoolFolder::RescueTails(const QString& root, const std::function<bool(const QString&)>& isWanted)
{
    for (const SharedTail::Left& left : SharedTail::LeftIn(root, isWanted)) {
        if (!left.Frames.isEmpty()) {
            const QStringList there = FoldersIn(root);
            const auto path = std::ranges::find(there, left.Spool, SpoolOf);
            // A new one goes in front of what servers have left that were started later.
            const SpoolFolderRef folder =
                path != there.end() ? Open(*path) : MakeAt(left.Begin, root, left.Spool, left.Destination);
            if (!folder) continue; // another server looks at it; the next one finds the rest
            Save(left.Frames, folder->Path());
        }
        left.Forget();
    }
}

std::vector<SpoolFolderRef> SpoolFolder::LeftFor(const QString& root, const QString& destination)
{
    RescueTails(root, [&](const QString& of) { return of == destination; });
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
        RescueTails(root, [&](const QString& of) { return !destinations.contains(of); });
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
