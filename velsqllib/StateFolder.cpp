#include "velsqllib/StateFolder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

namespace {

/// Whether the socket gets the plain file name. The first socket gets it, and keeps it until its folder is gone.
bool OwnsPlainName(const QString& log, const QString& socketPath)
{
    QFile owner(log + QStringLiteral(".socket"));
    QByteArray path;
    if (owner.open(QIODevice::ReadOnly)) path = owner.readAll();
    owner.close();
    if (path == QFile::encodeName(socketPath)) return true;
    if (!path.isEmpty() && QFileInfo::exists(QFileInfo(QFile::decodeName(path)).path())) return false;
    if (owner.open(QIODevice::WriteOnly)) owner.write(QFile::encodeName(socketPath));
    owner.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

} // namespace

QString StateFolder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME"); // empty counts as not set
    return (state.isEmpty() ? QDir::homePath() + QStringLiteral("/.local/state") : state) + QStringLiteral("/velsql");
}

void MakePrivateFolder(const QString& path)
{
    const QFileInfo folder(path);
    const QString parent = folder.absolutePath();
    if (folder.exists() || parent == path) return; // no name has itself for a parent but the root's, or none at all
    MakePrivateFolder(parent);
    // Failures are reported by the code that writes into it.
    mkdir(QFile::encodeName(path).constData(), 0700);
}

QString ServerLogPath(const QString& socketPath)
{
    MakePrivateFolder(StateFolder());
    mkdir(QFile::encodeName(QFileInfo(socketPath).path()).constData(), 0700); // as the server does
    const QString log = StateFolder() + QStringLiteral("/server.log");
    if (OwnsPlainName(log, socketPath)) return log;
    const QByteArray hash = QCryptographicHash::hash(QFile::encodeName(socketPath), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("%1/server-%2.log").arg(StateFolder(), QString::fromLatin1(hash.first(8)));
}
