#pragma once

#include <QProcess>
#include <QTemporaryDir>

#include <functional>

/// A real server process with a socket, a state folder and a history of its own.
class ServerRun
{
public:
    /// Waits until it listens, or has ended.
    explicit ServerRun(const QStringList& arguments = {}, const std::function<void()>& inChild = {});
    ~ServerRun();

    /// A second one at the same socket.
    explicit ServerRun(const ServerRun& first, const QStringList& arguments);

    QString SocketPath() const;
    QString Folder() const { return m_Folder->path(); }
    QProcess& Process() { return m_Process; }
    /// What it keeps in memory now, in MB.
    double MemoryMB() const;
    /// What it has written to standard error until it ended; waits for the end.
    QString LogUntilEnd();
    /// -1 when it does not end within 10 seconds, or crashes.
    int ExitCode();

private:
    void Start(const QStringList& arguments);

    std::shared_ptr<QTemporaryDir> m_Folder;
    QProcess m_Process;
};
