#include "scripttool/velsqlscript/QueryOutput.h"

#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/Output.h"

#include <QFileInfo>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Read by the signal handler: empty while there is no unfinished file.
std::array<char, PATH_MAX> s_Unfinished;

void EndBySignal(int signal)
{
    if (s_Unfinished[0]) unlink(s_Unfinished.data());
    raise(signal); // its default is restored; it comes when this handler is left
}

void CatchSignals()
{
    struct sigaction action = {};
    action.sa_handler = EndBySignal;
    action.sa_flags = SA_RESETHAND;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction now = {};
        sigaction(signal, nullptr, &now);
        if (now.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr); // nohup stays
    }
}

void NoteUnfinished(const QByteArray& path)
{
    s_Unfinished[0] = '\0';
    if (path.size() < PATH_MAX)
        std::memcpy(s_Unfinished.data(), path.constData(), static_cast<size_t>(path.size()) + 1);
}

/// Those of the file that is replaced, else what the user's mask leaves.
mode_t PermissionsOf(const QString& path)
{
    struct stat existing = {};
    if (stat(QFile::encodeName(path).constData(), &existing) == 0) return existing.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// Asking for its path gives it a name.
QByteArray AbsolutePath(const QTemporaryFile& file)
{
    return QFile::encodeName(QFileInfo(file.fileName()).absoluteFilePath());
}

/// Where the file system can do so, a temporary file has none until it is asked for, and vanishes with the process,
/// however that ends.
bool HasNoName(const QTemporaryFile& file)
{
    struct stat now = {};
    return fstat(file.handle(), &now) == 0 && now.st_nlink == 0;
}

DescribedError CannotBeWritten(const QString& path, const QString& why)
{
    return DescribedError(QStringLiteral("%1: cannot be written: %2").arg(path, why));
}

} // namespace

QueryOutput::QueryOutput(const QString& path)
    : m_Path(path)
{
    if (IsStandardOutput()) return;
    const QFileInfo info(path);
    if (path.isEmpty() || info.isDir()) throw CannotBeWritten(path, QStringLiteral("it is no file"));
    if (!info.exists() || info.isFile()) OpenBeside();
    else OpenAsItIs();
}

void QueryOutput::OpenAsItIs()
{
    m_Direct.setFileName(m_Path);
    m_File = &m_Direct;
    if (!m_Direct.open(QFile::WriteOnly | QFile::Unbuffered)) Fail(m_Direct);
}

void QueryOutput::OpenBeside()
{
    const QFileInfo info(m_Path);
    m_Target = info.exists() ? info.canonicalFilePath() : m_Path;
    // Whoever may not write to a file does not replace it either.
    if (info.exists() && !info.isWritable())
        throw CannotBeWritten(m_Path, QString::fromLocal8Bit(std::strerror(EACCES)));
    m_Beside.setFileTemplate(m_Target + QStringLiteral(".XXXXXX"));
    m_File = &m_Beside;
    CatchSignals();
    if (!m_Beside.open()) Fail(m_Beside);
    if (!HasNoName(m_Beside)) NoteUnfinished(AbsolutePath(m_Beside));
    if (fchmod(m_Beside.handle(), PermissionsOf(m_Target)) != 0)
        throw CannotBeWritten(m_Path, QString::fromLocal8Bit(std::strerror(errno)));
}

QueryOutput::~QueryOutput()
{
    m_Beside.remove();
    NoteUnfinished({});
}

void QueryOutput::Write(const QByteArray& bytes)
{
    if (!m_File) return WriteOutput(bytes);
    if (m_File->write(bytes) != bytes.size()) Fail(*m_File);
}

void QueryOutput::Commit()
{
    if (m_File && !m_File->flush()) Fail(*m_File);
    if (m_File != &m_Beside) return;
    if (fdatasync(m_Beside.handle()) != 0) throw CannotBeWritten(m_Path, QString::fromLocal8Bit(std::strerror(errno)));
    m_Beside.setAutoRemove(false);
    const QByteArray from = AbsolutePath(m_Beside);
    NoteUnfinished(from);
    if (std::rename(from.constData(), QFile::encodeName(m_Target).constData()) != 0)
        throw CannotBeWritten(m_Path, QString::fromLocal8Bit(std::strerror(errno)));
    NoteUnfinished({});
}

void QueryOutput::Fail(const QFile& file) const
{
    throw CannotBeWritten(m_Path, file.errorString());
}
