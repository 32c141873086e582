#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTemporaryFile>

/// A server process that is being started until it listens; it continues when this object is destroyed.
class ServerStarter
{
public:
    /// Throws ServerError when the program does not exist or cannot be started.
    ServerStarter(const QString& program, const QString& socketPath);

    /// Pauses briefly. Throws ServerError with the server's message when the server has ended, or after 15 seconds.
    void WaitAWhile();
    /// After the connection to the server has been lost: throws likewise when it ends within a second, which is how it
    /// refuses its plant; else returns.
    void WaitForEnd();

private:
    [[noreturn]] void Fail(const QString& what);
    QString Said();

    QString m_Program;
    QString m_Log; ///< path of the server's log
    QTemporaryFile m_Errors;
    QElapsedTimer m_Started;
    qint64 m_ProcessId = 0;
};
