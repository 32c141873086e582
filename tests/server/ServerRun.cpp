#include "tests/server/ServerRun.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int Patience = 10'000; // milliseconds

} // namespace

ServerRun::ServerRun(const QStringList& arguments, const std::function<void()>& inChild)
    : m_Folder(std::make_shared<QTemporaryDir>())
{
    m_Process.setChildProcessModifier(inChild);
    Start(arguments);
}

ServerRun::ServerRun(const ServerRun& first, const QStringList& arguments)
    : m_Folder(first.m_Folder)
{
    Start(arguments);
}

ServerRun::~ServerRun()
{
    if (m_Process.state() == QProcess::NotRunning) return;
    m_Process.terminate();
    if (!m_Process.waitForFinished(Patience)) m_Process.kill();
    m_Process.waitForFinished(Patience);
}

QString ServerRun::SocketPath() const
{
    return m_Folder->filePath(QStringLiteral("run/server.sock"));
}

double ServerRun::MemoryMB() const
{
    QFile status(QStringLiteral("/proc/%1/status").arg(m_Process.processId()));
    if (!status.open(QIODevice::ReadOnly)) return -1.0;
    const QString text = QString::fromLatin1(status.readAll());
    return text.section(QStringLiteral("VmRSS:"), 1).trimmed().section(u' ', 0, 0).toDouble() / 1024.0;
}

QString ServerRun::LogUntilEnd()
{
    m_Process.waitForFinished(Patience);
    return QString::fromUtf8(m_Process.readAllStandardError());
}

int ServerRun::ExitCode()
{
    m_Process.waitForFinished(Patience);
    const bool ended = m_Process.state() == QProcess::NotRunning && m_Process.exitStatus() == QProcess::NormalExit;
    return ended ? m_Process.exitCode() : -1;
}

void ServerRun::Start(const QStringList& arguments)
{
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) return;
    const int theirs = fcntl(ready[1], F_DUPFD, 100); // kept across exec
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_STATE_HOME"), m_Folder->filePath(QStringLiteral("state")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_Folder->filePath(QStringLiteral("config")));
    m_Process.setProcessEnvironment(environment);
    m_Process.start(
        QStringLiteral(VELSQL_SERVER_PROGRAM),
        QStringList{QStringLiteral("--socket"), SocketPath(), QStringLiteral("--ready-fd"), QString::number(theirs)} +
            arguments);
    m_Process.waitForStarted(Patience);
    close(theirs);
    close(ready[1]);
    pollfd wait{ready[0], POLLIN, 0};
    poll(&wait, 1, Patience);
    close(ready[0]);
}
