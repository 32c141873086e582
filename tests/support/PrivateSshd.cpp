#include "tests/support/PrivateSshd.h"

#include "velsqllib/RemoteLink.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

#include <csignal>
#include <sys/prctl.h>

namespace {

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool WaitUntil(const std::function<bool()>& condition)
{
    const QDeadlineTimer patience(20'000);
    while (!condition() && !patience.hasExpired()) QThread::msleep(10);
    return condition();
}

} // namespace

PrivateSshd::PrivateSshd()
{
    for (QProcess* process : {&m_Sshd, &m_Launcher}) // a test that crashes leaves nothing
        process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_Sshd.setStandardErrorFile(Path(QStringLiteral("sshd.log")));
    Start();
    for (const auto& [variable, value] : {std::pair{"XDG_RUNTIME_DIR", Path(QStringLiteral("here/run"))},
                                          {"XDG_STATE_HOME", Path(QStringLiteral("here/state"))},
                                          {"XDG_CONFIG_HOME", Path(QStringLiteral("here/config"))},
                                          {"PATH", Path(QStringLiteral("here/bin:/usr/bin:/bin"))},
                                          {"SSH_ASKPASS_REQUIRE", QStringLiteral("force")},
                                          {"SSH_ASKPASS", QStringLiteral("/bin/false")}})
        qputenv(variable, QFile::encodeName(value));
}

PrivateSshd::~PrivateSshd()
{
    EndLink();
    Signal(Sshd() + Servers(), SIGKILL);
    m_Sshd.waitForFinished();
    WaitUntil([this] { return Servers().isEmpty() && Bridges().isEmpty(); }); // they write into the folder
}

void PrivateSshd::Start()
{
    if (m_Sshd.state() != QProcess::NotRunning && !m_Sshd.waitForFinished(200)) return; // has not been killed
    m_Sshd.start(QStringLiteral(VELSQL_PRIVATE_SSHD), {m_Folder.path(), QCoreApplication::applicationDirPath()});
    if (!WaitUntil([this] { return ContentOf(Path(QStringLiteral("sshd.log"))).contains("listening"); }))
        qFatal("sshd does not listen");
}

QList<pid_t> PrivateSshd::Sshd() const
{
    const qint64 listener = m_Sshd.processId();
    if (listener == 0) return {};
    QList<pid_t> all = {static_cast<pid_t>(listener)};
    for (const QByteArray& child : ContentOf(QStringLiteral("/proc/%1/task/%1/children").arg(listener)).split(' '))
        if (!child.isEmpty()) all.append(child.toInt());
    return all;
}

void PrivateSshd::LinkTo(const QString& host)
{
    m_Launcher.start(Program(QStringLiteral("velsqlremote")),
                     {host, QStringLiteral("sh"), QStringLiteral("-c"),
                      QStringLiteral("echo $VELSQL_REMOTE_SOCKET; exec cat")});
    while (!m_Launcher.canReadLine() && m_Launcher.waitForReadyRead()) {
    }
    qputenv(RemoteLink::Variable, m_Launcher.readLine().trimmed());
}

void PrivateSshd::EndLink()
{
    if (m_Launcher.state() != QProcess::NotRunning) m_Launcher.terminate();
    m_Launcher.waitForFinished();
    qunsetenv(RemoteLink::Variable);
}

void PrivateSshd::Write(const QString& name, const QByteArray& text) const
{
    QFile file(Path(name));
    if (file.open(QIODevice::WriteOnly)) file.write(text);
}

void PrivateSshd::InstallThere(const QString& name, const QByteArray& script) const
{
    Write(QStringLiteral("there/bin/") + name, "#!/bin/sh\n" + script + '\n');
    QFile::setPermissions(Path(QStringLiteral("there/bin/") + name),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QString PrivateSshd::Program(const QString& name)
{
    return QCoreApplication::applicationDirPath() + u'/' + name;
}

QList<pid_t> PrivateSshd::Processes(const QByteArray& text) const
{
    QList<pid_t> found;
    for (const QString& name : QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
        const QString path = QStringLiteral("/proc/%1/").arg(name);
        const QByteArray line = ContentOf(path + QStringLiteral("cmdline")).replace('\0', ' ');
        if (line.startsWith(text) &&
            (line + ContentOf(path + QStringLiteral("environ"))).contains(QFile::encodeName(m_Folder.path())))
            found.append(name.toInt());
    }
    return found;
}

void PrivateSshd::Signal(const QList<pid_t>& processes, int signal)
{
    for (const pid_t process : processes) kill(process, signal);
}
