#include "velsqllib/RemoteLink.h"

#include "core/automation/Errors.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace {

QString StatePath(const QString& socketPath)
{
    return socketPath + QStringLiteral(".link");
}

bool IsRunning(int processId)
{
    return processId > 0 && (kill(processId, 0) == 0 || errno != ESRCH);
}

} // namespace

std::optional<QString> RemoteLink::Socket()
{
    if (!qEnvironmentVariableIsSet(Variable)) return {};
    return qEnvironmentVariable(Variable);
}

RemoteLink RemoteLink::Read(const QString& socketPath)
{
    QFile file(StatePath(socketPath));
    QStringList lines;
    if (file.open(QIODevice::ReadOnly)) lines = QString::fromUtf8(file.readAll()).split(u'\n');
    if (lines.size() < 4) return {QStringLiteral("another machine"), QStringLiteral("velsqlremote has ended.")};
    if (!IsRunning(lines[0].toInt())) return {lines[1], QStringLiteral("velsqlremote has ended.")};
    return {lines[1], lines[3], lines[2] == QStringLiteral("up")};
}

bool RemoteLink::IsThere(const QString& socketPath)
{
    return QFile::exists(StatePath(socketPath));
}

void RemoteLink::Write(const QString& socketPath) const
{
    const QStringList lines = {QString::number(getpid()), Place.simplified(),
                               IsUp ? QStringLiteral("up") : QStringLiteral("down"), Trouble.simplified()};
    QSaveFile file(StatePath(socketPath));
    const QByteArray bytes = lines.join(u'\n').toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw DescribedError(QStringLiteral("%1 cannot be written: %2").arg(file.fileName(), file.errorString()));
}
