#include "velsqllib/ServerSocket.h"

#include "core/automation/Errors.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

QString SystemError()
{
    return QString::fromLocal8Bit(strerror(errno));
}

sockaddr_un AddressOf(const QString& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    if (static_cast<std::size_t>(bytes.size()) >= sizeof address.sun_path)
        throw DescribedError(QStringLiteral("The path of the server's socket is too long: %1").arg(path));
    memcpy(address.sun_path, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return address;
}

int MakeSocket()
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) throw DescribedError(QStringLiteral("No socket could be made: %1").arg(SystemError()));
    return descriptor;
}

/// Removes the socket of a server that was killed: the lock proves that none is running. Nothing else is ever removed.
void RemoveLeftover(const char* path)
{
    struct stat status
    {
    };
    // If something is wrong, binding the socket reports it.
    if (lstat(path, &status) != 0) return;
    if (!S_ISSOCK(status.st_mode))
        throw DescribedError(QStringLiteral("%1 exists and is not a socket.").arg(QFile::decodeName(path)));
    unlink(path);
}

const sockaddr* Generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

QString ServerSocketPath()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty()) return runtime + QStringLiteral("/velsql/server.sock");
    return QDir::tempPath() + QStringLiteral("/velsql-%1/server.sock").arg(geteuid());
}

bool IsSameUser(int connectedSocket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connectedSocket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

int ConnectToServer(const QString& path)
{
    const sockaddr_un address = AddressOf(path);
    const int descriptor = MakeSocket();
    if (connect(descriptor, Generic(address), sizeof address) != 0) {
        close(descriptor);
        return -1;
    }
    if (!IsSameUser(descriptor)) {
        close(descriptor);
        throw DescribedError(QStringLiteral("The server at %1 belongs to another user.").arg(path));
    }
    return descriptor;
}

FileMark FileMark::Of(const QString& path)
{
    struct stat status
    {
    };
    if (lstat(QFile::encodeName(path).constData(), &status) != 0) return {};
    return {status.st_dev, status.st_ino};
}

ListeningSocket::ListeningSocket(const QString& path)
    : m_Path(path)
{
    MakeFolder();
    Lock();
    try {
        Listen();
    } catch (...) {
        close(m_Lock);
        throw;
    }
}

ListeningSocket::~ListeningSocket()
{
    if (IsThere()) unlink(QFile::encodeName(m_Path).constData());
    CloseSocket();
    close(m_Lock);
}

bool ListeningSocket::IsThere() const
{
    return m_Socket >= 0 && FileMark::Of(m_Path) == m_File;
}

void ListeningSocket::Renew()
{
    CloseSocket();
    MakeFolder();
    close(std::exchange(m_Lock, -1)); // it may have been removed, too
    Lock();
    Listen();
}

void ListeningSocket::CloseSocket()
{
    if (m_Socket >= 0) close(std::exchange(m_Socket, -1));
}

void ListeningSocket::MakeFolder() const
{
    const QByteArray folder = QFile::encodeName(QFileInfo(m_Path).path());
    if (mkdir(folder.constData(), 0700) != 0 && errno != EEXIST)
        throw DescribedError(
            QStringLiteral("The folder %1 cannot be made: %2").arg(QString::fromLocal8Bit(folder), SystemError()));
    // An existing folder keeps its mode, as it may serve other purposes; but nobody else may be able to put a socket
    // into it.
    struct stat status
    {
    };
    const bool isOwn = lstat(folder.constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
                       status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    if (!isOwn)
        throw DescribedError(QStringLiteral("The folder %1 is not one that only this user may write to.")
                                 .arg(QString::fromLocal8Bit(folder)));
}

void ListeningSocket::Lock()
{
    const QByteArray lockPath = QFile::encodeName(m_Path + QStringLiteral(".lock"));
    m_Lock = open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_Lock < 0)
        throw DescribedError(
            QStringLiteral("%1 cannot be opened: %2").arg(QString::fromLocal8Bit(lockPath), SystemError()));
    if (flock(m_Lock, LOCK_EX | LOCK_NB) != 0) {
        close(std::exchange(m_Lock, -1));
        throw DescribedError(QStringLiteral("A server is already running at %1.").arg(m_Path));
    }
}

void ListeningSocket::Listen()
{
    const sockaddr_un address = AddressOf(m_Path);
    RemoveLeftover(address.sun_path);
    m_Socket = MakeSocket();
    const mode_t before = umask(0177);
    const bool listening = bind(m_Socket, Generic(address), sizeof address) == 0 && listen(m_Socket, SOMAXCONN) == 0;
    const QString error = SystemError();
    umask(before);
    m_File = FileMark::Of(m_Path);
    if (listening) return;
    CloseSocket();
    throw DescribedError(QStringLiteral("The server cannot listen at %1: %2").arg(m_Path, error));
}
