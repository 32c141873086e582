#pragma once

#include "remote/Link.h"
#include "remote/PrivateSocket.h"

#include <QProcess>
#include <QTimer>

/// Starts a program once the link to a server of another machine stands, and keeps that link for as long as the program
/// runs.
class Launcher : public QObject
{
    Q_OBJECT

public:
    /// Exit codes of its own, beside those of the program that it starts.
    enum ExitCode
    {
        NoServer = 3,
        NoProgram = 127
    };

    Launcher(const QString& host, const QString& program, const QStringList& arguments);

    /// Runs until the program has ended. Returns the exit code.
    int Run();
    /// As a signal asks: ends the program, or the attempt to connect; an operator's interrupt is left to the program.
    void Stop(int signal);

private:
    void Offer();
    void Look();
    void StartProgram();
    void Fail(ExitCode code, const QString& why);

    Link m_Link;
    PrivateSocket m_Socket;
    QProcess m_Program;
    QTimer m_Look;
    bool m_IsStarted = false;
    bool m_IsOffered = false;
};
