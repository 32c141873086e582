#include "server/sqlitehistory/PartitionFolder.h"

#include "server/database/FolderLock.h"
#include "server/database/FolderNames.h"
#include "server/log/Log.h"

#include <QDateTime>
#include <QDir>
#include <QUrl>

#include <mutex>
#include <sys/stat.h>

namespace {

const QString s_Suffix = QStringLiteral(".db");
const QString s_Write = QStringLiteral("-wal");
const QString s_Shared = QStringLiteral("-shm");

/// The same only as long as nothing has been written.
struct Look
{
    explicit Look(const QString& path)
    {
        struct stat status
        {
        };
        if (stat(QFile::encodeName(path).constData(), &status) != 0) return;
        Size = status.st_size;
        File = status.st_ino;
        Changed = status.st_mtim.tv_sec * qint64{1'000'000'000} + status.st_mtim.tv_nsec;
    }
    bool operator==(const Look&) const = default;

    qint64 Size = -1;
    quint64 File = 0;
    qint64 Changed = 0;
};

struct Remembered
{
    Look File;
    Look Write;
    PartitionContents Contents;
};

/// The most rows that a moment's chunks have together.
qint64 RowsAtOnce(const std::vector<Chunk>& chunks)
{
    std::multimap<qint64, qint64> changes; // at this key so many more
    for (const Chunk& chunk : chunks) {
        changes.insert({chunk.FirstLocal, chunk.Rows});
        if (chunk.LastLocal < Chunk::Highest) changes.insert({chunk.LastLocal + 1, -chunk.Rows});
    }
    qint64 most = 0;
    qint64 now = 0;
    for (const auto& [key, more] : changes) most = std::max(most, now += more);
    return most;
}

PartitionContents ReadContents(const PartitionFile& file)
{
    PartitionContents contents;
    PartitionFolder::Guard(
        file, [&] { contents = ::ContentsOf(RowPartition(file.Path, RowPartition::Access::Reading).Chunks()); });
    return contents;
}

std::mutex s_Guard;
QHash<QString, Remembered> s_Remembered;

QString PartsOf(const QString& database)
{
    return database + QStringLiteral(".parts");
}

} // namespace

PartitionContents ContentsOf(const std::vector<Chunk>& chunks)
{
    PartitionContents contents{{}, RowsAtOnce(chunks)};
    for (const Chunk& chunk : chunks) {
        Chunk& all = contents.Range;
        all.Rows += chunk.Rows;
        all.FirstLocal = std::min(all.FirstLocal, chunk.FirstLocal);
        all.LastLocal = std::max(all.LastLocal, chunk.LastLocal);
        all.FirstUtc = std::min(all.FirstUtc, chunk.FirstUtc);
        all.LastUtc = std::max(all.LastUtc, chunk.LastUtc);
    }
    return contents;
}

qint64 PartitionFile::Bytes() const
{
    return std::max<qint64>(Look(Path).Size, 0);
}

PartitionFolder::PartitionFolder(const QString& database, const QString& table)
    : m_Path(PartsOf(database) + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(table)))
{
}

QStringList PartitionFolder::Tables(const QString& database)
{
    QStringList tables;
    const QDir folder(PartsOf(database));
    for (const QString& name : NamesIn(folder.path()))
        if (QFileInfo(folder.filePath(name)).isDir()) tables.append(QUrl::fromPercentEncoding(name.toLatin1()));
    return tables;
}

std::vector<PartitionFile> PartitionFolder::Files() const
{
    std::vector<PartitionFile> files;
    const QDir folder(m_Path);
    for (const QString& name : NamesIn(m_Path)) {
        if (!name.endsWith(s_Suffix)) continue;
        bool isNumber = false;
        const qint64 number = name.chopped(s_Suffix.size()).toLongLong(&isNumber);
        const QString path = folder.filePath(name);
        if (isNumber && QFileInfo(path).isFile()) files.push_back({number, path});
    }
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.Number < b.Number; });
    for (std::size_t i = 0; i < files.size(); ++i)
        files[i].MayGrow =
            i + 1 == files.size() || (files[i].Number < FirstNumber) != (files[i + 1].Number < FirstNumber);
    return files;
}

PartitionFile PartitionFolder::FileOf(qint64 number) const
{
    return {number, m_Path + u'/' + QString::number(number).rightJustified(7, u'0') + s_Suffix};
}

void PartitionFolder::Guard(const PartitionFile& file, const std::function<void()>& work)
{
    try {
        work();
    } catch (const SqliteError& error) {
        if (!QFile::exists(file.Path)) return;
        if (!error.IsDamage()) throw;
        throw DescribedError(QStringLiteral("A part of the history was damaged and is now set aside as %1: %2")
                                 .arg(SetAside(file, error.Description()), error.Description()));
    }
}

PartitionContents PartitionFolder::ContentsOf(const PartitionFile& file)
{
    const Look now(file.Path);
    const Look write(file.Path + s_Write);
    if (now.Size <= 0 && write.Size <= 0) return {}; // gone, or not begun
    // The clock of files is too coarse for what has just been written.
    if (file.MayGrow) return ReadContents(file);
    {
        const std::lock_guard lock(s_Guard);
        const auto known = s_Remembered.constFind(file.Path);
        if (known != s_Remembered.constEnd() && known->File == now && known->Write == write) return known->Contents;
    }
    const PartitionContents contents = ReadContents(file);
    const std::lock_guard lock(s_Guard);
    s_Remembered.insert(file.Path, {now, write, contents});
    return contents;
}

void PartitionFolder::Remove(const PartitionFile& file)
{
    const FolderLock lock(file.Path);
    if (!QFile::remove(file.Path) && QFile::exists(file.Path))
        throw DescribedError(QStringLiteral("%1 cannot be removed.").arg(file.Path));
    QFile::remove(file.Path + s_Write);
    QFile::remove(file.Path + s_Shared);
}

QString PartitionFolder::SetAside(const PartitionFile& file, const QString& reason)
{
    const QString mark = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-hhmmsszzz"));
    const QString name = QStringLiteral("%1.damaged-%2").arg(file.Path, mark);
    const FolderLock lock(file.Path);
    if (!QFile::rename(file.Path, name))
        throw DescribedError(QStringLiteral("%1 is damaged and cannot be renamed: %2").arg(file.Path, reason));
    QFile::rename(file.Path + s_Write, name + s_Write);
    QFile::remove(file.Path + s_Shared);
    Log(LogLevel::Error,
        QStringLiteral("A part of the history is damaged and was set aside as %1: %2").arg(name, reason));
    return name;
}
