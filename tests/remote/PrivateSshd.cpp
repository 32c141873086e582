#include "tests/remote/PrivateSshd.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QThread>

#include <csignal>
#include <unistd.h>

namespace {

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

PrivateSshd::PrivateSshd()
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
}

PrivateSshd::~PrivateSshd()
{
    const QByteArray server =
        QFile::encodeName(QCoreApplication::applicationDirPath() + QStringLiteral("/velsqlserver"));
    for (const pid_t process : Processes(server)) kill(process, SIGKILL);
    const QDeadlineTimer patience(20'000); // it writes into the folder until its end
    while (!Processes(server).isEmpty() && !patience.hasExpired()) QThread::msleep(10);
}

void PrivateSshd::MakeKeys() const
{
    for (const char* key : {"host", "user"})
        QProcess::execute(QStringLiteral("ssh-keygen"),
                          {QStringLiteral("-qt"), QStringLiteral("ed25519"), QStringLiteral("-N"), QString(),
                           QStringLiteral("-f"), Path(QLatin1String(key))});
    QFile::copy(Path(QStringLiteral("user.pub")), Path(QStringLiteral("authorized")));
    Write(QStringLiteral("known"),
          "plant " + Read(QStringLiteral("host.pub")) + "changed " + Read(QStringLiteral("user.pub")));
}

void PrivateSshd::Configure() const
{
    if (geteuid() == 0) QDir().mkpath(QStringLiteral("/run/sshd")); // where root's sshd locks its helpers up
    Write(QStringLiteral("sshd"),
          QStringLiteral("HostKey %1/host\nAuthorizedKeysFile %1/authorized\n"
                         "StrictModes no\nUsePAM no\nPermitRootLogin yes\n"
                         "SetEnv PATH=%2/bin:%3:/usr/bin:/bin XDG_RUNTIME_DIR=%2/run "
                         "XDG_STATE_HOME=%2/state XDG_CONFIG_HOME=%2/config\n")
              .arg(m_Folder.path(), Path(QStringLiteral("there")), QCoreApplication::applicationDirPath())
              .toUtf8());
    Write(QStringLiteral("ssh"), QStringLiteral("Host plant changed\n  ProxyCommand /usr/sbin/sshd -i -f %1/sshd\n"
                                                "  IdentityFile %1/user\n  IdentitiesOnly yes\n  IdentityAgent none\n"
                                                "  UserKnownHostsFile %1/known\n  GlobalKnownHostsFile none\n")
                                     .arg(m_Folder.path())
                                     .toUtf8());
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
