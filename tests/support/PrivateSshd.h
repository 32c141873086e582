#pragma once

#include <QList>
#include <QProcess>
#include <QTemporaryDir>

/// "Another machine": an sshd of our own that listens at the loopback address, with keys, configuration and user
/// folders of its own, and an ssh on the path that knows it; private-sshd.sh says what is where.
class PrivateSshd
{
public:
    PrivateSshd();
    /// Ends all that runs at either side.
    ~PrivateSshd();

    QString Path(const QString& name) const { return m_Folder.filePath(name); }
    QString RuntimeHere() const { return Path(QStringLiteral("here/run")); }
    void Write(const QString& name, const QByteArray& text) const;
    /// Puts a program in front of those on the path of the machine.
    void InstallThere(const QString& name, const QByteArray& script) const;
    static QString Program(const QString& name);

    /// Listens, after it was killed: again.
    void Start();
    /// The listening process and those that serve connections.
    QList<pid_t> Sshd() const;

    /// Starts velsqlremote with a program that only waits, and puts this process below it.
    void LinkTo(const QString& host);
    void EndLink();

    /// The processes at either side whose command lines begin with these words.
    QList<pid_t> Processes(const QByteArray& text) const;
    QList<pid_t> Ssh() const { return Processes("/usr/bin/ssh -F"); }
    QList<pid_t> Bridges() const { return Processes("velsqlserver --connect"); }
    /// Those that a bridge has started.
    QList<pid_t> Servers() const { return Processes(Program(QStringLiteral("velsqlserver")).toUtf8() + " --stop"); }
    static void Signal(const QList<pid_t>& processes, int signal);

    QProcess m_Launcher;

private:
    QTemporaryDir m_Folder;
    QProcess m_Sshd;
};
