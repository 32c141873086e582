#include "remote/Launcher.h"

#include "core/automation/Errors.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int LookMs = 500;

} // namespace

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
    connect(&m_Look, &QTimer::timeout, this, &Launcher::Look);
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
    m_IsOffered = false;
    try {
        if (m_Link.State().IsUp) m_Socket.Listen(true);
        m_Link.State().Write(m_Socket.Path());
        if (!m_Link.State().IsUp) m_Socket.Listen(false);
        m_IsOffered = true;
        if (!std::exchange(m_IsStarted, true)) StartProgram();
    } catch (const DescribedError& error) {
        // What has begun is not ended by a full disk: it is tried again.
        if (!m_IsStarted) return Fail(NoServer, error.Description());
        if (!m_Link.State().IsUp) m_Socket.Listen(false);
    }
}

/// Whoever tidies up folders of files that pass for old or left behind may take away what is offered.
void Launcher::Look()
{
    const bool isThere = RemoteLink::IsThere(m_Socket.Path()) && m_Socket.IsThere() == m_Link.State().IsUp;
    if (!m_IsOffered || !isThere) Offer();
}

void Launcher::StartProgram()
{
    m_Look.start(LookMs);
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
