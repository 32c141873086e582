#pragma once

#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

/// The server's answer to "references" when no client holds anything of it.
inline const QString NothingHeld = QStringLiteral("controllers 0, items 0, results 0, subscriptions 0, events 0");

/// The bundled server as a process of its own with a private folder for its socket and its database; it ends with
/// this object, whatever happens to the test.
class RealServer
{
public:
    /// Makes the folders only: the environment of this process points to them from now on.
    RealServer();
    ~RealServer() { Kill(); }

    QString SocketPath() const { return m_Folder.filePath(QStringLiteral("run/velsql/server.sock")); }
    static QString Program();
    /// What the engine answers to a command from a client of its own thread: asking does nothing for this thread's
    /// connections. When it cannot be asked, the description of the error.
    QString Answer(const QString& command) const;

    /// Returns when the server is ready; ends the program when it does not within a minute.
    void Start(const QStringList& arguments = {});
    /// Ends it as a crash would.
    void Kill();
    /// Ends it as an administrator would; returns its exit code, -1 when it does not end within 30 seconds.
    int Terminate();
    void Suspend() { Signal(SIGSTOP); }
    void Resume() { Signal(SIGCONT); }
    qint64 ProcessId() const { return m_Process.processId(); }
    QProcess& Process() { return m_Process; }

private:
    void Signal(int signal) { kill(static_cast<pid_t>(m_Process.processId()), signal); }

    QTemporaryDir m_Folder;
    QProcess m_Process;
};
