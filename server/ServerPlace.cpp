#include "server/ServerPlace.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "velsqllib/ServerSocket.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr qint64 PatienceMs = 4'500;
constexpr unsigned long PauseMs = 20;

QString LockPath(const QString& socketPath)
{
    return socketPath + QStringLiteral(".lock");
}

bool IsTaken(const QString& socketPath)
{
    const int lock = open(QFile::encodeName(LockPath(socketPath)).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (lock < 0) return false;
    const bool isFree = flock(lock, LOCK_SH | LOCK_NB) == 0;
    close(lock);
    return !isFree;
}

/// The process that listens, by its number in this process's namespace; 0 when there is none.
pid_t ListenerAt(const QString& socketPath)
{
    const int connection = ConnectToServer(socketPath);
    if (connection < 0) return 0;
    ucred peer{};
    socklen_t size = sizeof peer;
    getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size);
    close(connection);
    return peer.pid;
}

/// "<process> gives way" or "<process> stays".
QString Announced(const QString& socketPath)
{
    QFile file(LockPath(socketPath));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()).trimmed() : QString();
}

QString Announcement(pid_t process, bool givesWay)
{
    return QStringLiteral("%1 %2").arg(process).arg(givesWay ? QStringLiteral("gives way") : QStringLiteral("stays"));
}

} // namespace

void ServerPlace::Announce(const QString& socketPath, bool givesWay)
{
    QFile file(LockPath(socketPath));
    const QByteArray text = Announcement(getpid(), givesWay).toLatin1() + '\n';
    const bool isSaid = file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && file.write(text) == text.size() &&
                        file.resize(text.size());
    if (!isSaid)
        Log(LogLevel::Warning, QStringLiteral("%1 cannot be written, and no service can take this server's place: %2")
                                   .arg(file.fileName(), file.errorString()));
}

void ServerPlace::Take(const QString& socketPath)
{
    QFile::remove(HandOverPath(socketPath)); // from an attempt that came to nothing
    const QDeadlineTimer patience(PatienceMs);
    pid_t asked = 0;
    while (IsTaken(socketPath)) {
        const pid_t listener = ListenerAt(socketPath);
        const QString said = Announced(socketPath);
        const bool stays = listener > 0 && said == Announcement(listener, false);
        if (stays || patience.hasExpired())
            throw DescribedError(QStringLiteral("A server is already running at %1.").arg(socketPath));
        // A server that has just started may not have written yet what it will do.
        if (listener > 0 && listener != asked && said == Announcement(listener, true)) {
            Log(LogLevel::Info,
                QStringLiteral("The server %1, which is not a service, is asked to end.").arg(listener));
            kill(listener, RequestSignal);
            asked = listener;
        }
        QThread::msleep(PauseMs);
    }
}

QString ServerPlace::HandOverPath(const QString& socketPath)
{
    return socketPath + QStringLiteral(".added");
}
