#include "tests/remote/PrivateSshd.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

#include <csignal>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

quint16 FreePort()
{
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof address;
    bind(probe, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

PrivateSshd::PrivateSshd()
    : m_Port(FreePort())
{
    for (const char* side : {"here", "there"})
        for (const char* folder : {"run", "state", "config/velsql", "bin"})
            QDir().mkpath(Path(QStringLiteral("%1/%2").arg(QLatin1String(side), QLatin1String(folder))));
    for (const auto& [variable, folder] : {std::pair{"XDG_RUNTIME_DIR", "here/run"},
                                           {"XDG_STATE_HOME", "here/state"},
                                           {"XDG_CONFIG_HOME", "here/config"}})
        qputenv(variable, QFile::encodeName(Path(QString::fromLatin1(folder))));
    Write(QStringLiteral("there/config/velsql/plant.toml"),
          "[[controller]]\nname = \"Kiln\"\n[[controller.item]]\nname = \"Heat\"\nvalue = 7\n");
    MakeKeys();
    Configure();
    MakeScript(QStringLiteral("here/bin/ssh"),
               "exec /usr/bin/ssh -F " + QFile::encodeName(Path(QStringLiteral("ssh"))) + " \"$@\"");
    qputenv("PATH", QFile::encodeName(Path(QStringLiteral("here/bin"))) + ":/usr/bin:/bin");
    Start();
}

PrivateSshd::~PrivateSshd()
{
    Stop();
    const QByteArray server =
        QFile::encodeName(QCoreApplication::applicationDirPath() + QStringLiteral("/velsqlserver"));
    for (const pid_t process : Processes(server)) kill(process, SIGKILL);
    const QDeadlineTimer patience(20'000); // it writes into the folder until its end
    while (!Processes(server).isEmpty() && !patience.hasExpired()) QThread::msleep(10);
}

void PrivateSshd::MakeKeys() const
{
    for (const char* key : {"host", "user", "stranger"})
        QProcess::execute(QStringLiteral("ssh-keygen"),
                          {QStringLiteral("-qt"), QStringLiteral("ed25519"), QStringLiteral("-N"), QString(),
                           QStringLiteral("-f"), Path(QLatin1String(key))});
    QFile::copy(Path(QStringLiteral("user.pub")), Path(QStringLiteral("authorized")));
    Write(QStringLiteral("known"),
          "[127.0.0.1]:" + QByteArray::number(m_Port) + ' ' + Read(QStringLiteral("host.pub")));
    Write(QStringLiteral("known-other"),
          "[127.0.0.1]:" + QByteArray::number(m_Port) + ' ' + Read(QStringLiteral("stranger.pub")));
}

void PrivateSshd::Configure() const
{
    const QString there = Path(QStringLiteral("there"));
    Write(QStringLiteral("sshd"), QStringLiteral("Port %1\nListenAddress 127.0.0.1\nHostKey %2/host\n"
                                                 "AuthorizedKeysFile %2/authorized\nStrictModes no\nUsePAM no\n"
                                                 "PidFile none\nPermitRootLogin yes\nPasswordAuthentication no\n"
                                                 "KbdInteractiveAuthentication no\nSetEnv PATH=%3/bin:%4:/usr/bin:/bin "
                                                 "XDG_RUNTIME_DIR=%3/run XDG_STATE_HOME=%3/state "
                                                 "XDG_CONFIG_HOME=%3/config\n")
                                      .arg(m_Port)
                                      .arg(m_Folder.path(), there, QCoreApplication::applicationDirPath())
                                      .toUtf8());
    const QString hosts = QStringLiteral("Host plant stranger changed\n  HostName 127.0.0.1\nHost plant changed\n"
                                         "  IdentityFile %2/user\nHost stranger\n  IdentityFile %2/stranger\n"
                                         "Host changed\n  UserKnownHostsFile %2/known-other\n"
                                         "Host *\n  Port %1\n  UserKnownHostsFile %2/known\n  IdentitiesOnly yes\n"
                                         "  GlobalKnownHostsFile none\n  IdentityAgent none\n");
    Write(QStringLiteral("ssh"), hosts.arg(m_Port).arg(m_Folder.path()).toUtf8());
}

void PrivateSshd::Start()
{
    if (geteuid() == 0) QDir().mkpath(QStringLiteral("/run/sshd")); // where root's sshd locks its helpers up
    m_Process.setStandardErrorFile(Path(QStringLiteral("sshd.log")));
    m_Process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_Process.start(QStringLiteral("/usr/sbin/sshd"),
                    {QStringLiteral("-De"), QStringLiteral("-f"), Path(QStringLiteral("sshd"))});
    const QDeadlineTimer patience(20'000);
    while (!Read(QStringLiteral("sshd.log")).contains("Server listening")) {
        if (patience.hasExpired()) qFatal("sshd did not start: %s", Read(QStringLiteral("sshd.log")).constData());
        QThread::msleep(10);
    }
}

void PrivateSshd::Stop()
{
    const auto children = ContentOf(QStringLiteral("/proc/%1/task/%1/children").arg(m_Process.processId())).split(' ');
    m_Process.kill();
    m_Process.waitForFinished();
    for (const QByteArray& child : children)
        if (child.toInt() > 0) kill(child.toInt(), SIGKILL); // the sessions outlive it otherwise
}

void PrivateSshd::Write(const QString& name, const QByteArray& text) const
{
    QFile file(Path(name));
    if (file.open(QIODevice::WriteOnly)) file.write(text);
}

QByteArray PrivateSshd::Read(const QString& name) const
{
    return ContentOf(Path(name));
}

void PrivateSshd::MakeScript(const QString& name, const QByteArray& script) const
{
    Write(name, "#!/bin/sh\n" + script + '\n');
    QFile::setPermissions(Path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void PrivateSshd::InstallThere(const QString& name, const QByteArray& script) const
{
    MakeScript(QStringLiteral("there/bin/") + name, script);
}

QList<pid_t> PrivateSshd::Processes(const QByteArray& text) const
{
    QList<pid_t> found;
    for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        const QString path = QStringLiteral("/proc/%1/").arg(name);
        const QByteArray line = ContentOf(path + QStringLiteral("cmdline")).replace('\0', ' ');
        const QByteArray all = line + ContentOf(path + QStringLiteral("environ"));
        if (name.toInt() > 0 && line.startsWith(text + ' ') && all.contains(QFile::encodeName(m_Folder.path())))
            found.append(name.toInt());
    }
    return found;
}
