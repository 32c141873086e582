#include "remote/Launcher.h"

#include "core/automation/Errors.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>

Launcher::Launcher(const QString& host, const QString& program, const QStringList& arguments)
    : m_Link(host)
{
    m_Program.setProgram(program);
    m_Program.setArguments(arguments);
    m_Program.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_Program.setProcessChannelMode(QProcess::ForwardedChannels);
    connect(&m_Link, &Link::Changed, this, &Launcher::Offer);
    connect(&m_Link, &Link::Failed, this, [this](const QString& why) {
        Fail(NoServer, QStringLiteral("The server on %1 cannot be reached: %2").arg(m_Link.State().Place, why));
    });
    connect(&m_Socket, &PrivateSocket::Connected, &m_Link, &Link::Carry);
    connect(&m_Program, &QProcess::finished, this, [](int code, QProcess::ExitStatus status) {
        QCoreApplication::exit(status == QProcess::NormalExit ? code : EXIT_FAILURE);
    });
    connect(&m_Program, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Fail(NoProgram,
                 QStringLiteral("%1 cannot be started: %2").arg(m_Program.program(), m_Program.errorString()));
    });
}

int Launcher::Run()
{
    QTimer::singleShot(0, this, [this] { m_Link.Begin(); });
    return QCoreApplication::exec();
}

/// Whoever finds the socket can use it, and whoever does not finds the reason.
void Launcher::Offer()
{
    try {
        if (m_Link.State().IsUp) m_Socket.Listen(true);
        m_Link.State().Write(m_Socket.Path());
        if (!m_Link.State().IsUp) m_Socket.Listen(false);
        if (!std::exchange(m_IsStarted, true)) StartProgram();
    } catch (const DescribedError& error) {
        Fail(NoServer, error.Description());
    }
}

void Launcher::StartProgram()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(RemoteLink::Variable), m_Socket.Path());
    m_Program.setProcessEnvironment(environment);
    m_Program.start();
}

void Launcher::Stop(int signal)
{
    if (m_Program.state() == QProcess::NotRunning) return QCoreApplication::exit(128 + signal);
    if (signal != SIGINT) m_Program.terminate();
}

void Launcher::Fail(ExitCode code, const QString& why)
{
    std::fprintf(stderr, "velsqlremote: %s\n", qPrintable(why));
    QCoreApplication::exit(code);
}
