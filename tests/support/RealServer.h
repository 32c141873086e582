#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// The bundled server as a process of its own with a private folder for its socket and its database. It can be started, killed, stopped and
/// continued; whatever happens to the test, it ends with this object.
class RealServer
{
public:
    /// Makes the folders only: the environment of this process points to them from now on.
    RealServer();
    ~RealServer();

    QString SocketPath() const { return m_Folder.filePath(QStringLiteral("run/velsql/server.sock")); }
    static QString Program();

    /// Returns when the server listens; ends the program when it does not within 20 seconds.
    void Start(const QStringList& arguments = {});
    /// Ends it as a crash would.
    void Kill();
    /// Ends it as an administrator would; returns its exit code.
    int Terminate();
    void Suspend();
    void Resume();
    qint64 ProcessId() const { return m_Process.processId(); }

private:
    void Signal(int signal);

    QTemporaryDir m_Folder;
    QProcess m_Process;
};
