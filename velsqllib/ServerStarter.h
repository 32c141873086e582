#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTemporaryFile>

/// A server process being started; it goes on by itself when this object is gone.
class ServerStarter
{
public:
    /// Throws ServerError when there is no program or it cannot be started.
    ServerStarter(const QString& program, const QString& socketPath);

    /// A short pause. Throws ServerError with what the server said when it has ended, or after 15 seconds.
    void WaitAWhile();

private:
    [[noreturn]] void Fail(const QString& what);
    QString Said();

    QString m_Program;
    QString m_Log; ///< the server's
    QTemporaryFile m_Errors;
    QElapsedTimer m_Started;
    qint64 m_ProcessId = 0;
};
