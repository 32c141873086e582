#include "server/log/LogFile.h"

#include "core/automation/Errors.h"
#include "velsqllib/StateFolder.h"

#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 MostBytes = 10'000'000;

} // namespace

LogFile::LogFile(const QString& path)
    : m_Path(QFile::encodeName(path))
{
    if (!Open())
        throw DescribedError(
            QStringLiteral("The log %1 cannot be written: %2").arg(path, QString::fromLocal8Bit(strerror(errno))));
}

LogFile::~LogFile()
{
    close(m_File);
}

bool LogFile::Open()
{
    MakePrivateFolder(QFileInfo(QFile::decodeName(m_Path)).path());
    const int file =
        open(m_Path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (file < 0) return false;
    fchmod(file, 0600);
    if (m_File >= 0) close(m_File);
    m_File = file;
    if (m_TakesStandardError) dup2(m_File, STDERR_FILENO);
    return true;
}

/// Whether the file of that name is still the one that is open, and how long it is.
bool LogFile::IsThere(qint64& size) const
{
    struct stat named
    {
    };
    struct stat opened
    {
    };
    if (stat(m_Path.constData(), &named) != 0 || fstat(m_File, &opened) != 0) return false;
    size = opened.st_size;
    return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

void LogFile::Write(const QByteArray& line)
{
    const std::lock_guard lock(m_Mutex);
    qint64 size = 0;
    if (!IsThere(size)) Open();
    else if (size > 0 && size + line.size() > MostBytes) Rotate();
    // One write, so that lines of several processes do not mix.
    [[maybe_unused]] const auto written = write(m_File, line.constData(), static_cast<std::size_t>(line.size()));
}

void LogFile::Rotate()
{
    const int full = dup(m_File);
    // Another server may be doing the same; the lock is held for a few renames only.
    flock(full, LOCK_EX);
    qint64 size = 0;
    if (IsThere(size)) {
        rename((m_Path + ".1").constData(), (m_Path + ".2").constData());
        rename(m_Path.constData(), (m_Path + ".1").constData());
    }
    Open();
    flock(full, LOCK_UN);
    close(full);
}

void LogFile::TakeStandardError()
{
    const std::lock_guard lock(m_Mutex);
    m_TakesStandardError = true;
    dup2(m_File, STDERR_FILENO);
}
