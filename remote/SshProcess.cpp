#include "remote/SshProcess.h"

#include "core/automation/Errors.h"

#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>

namespace {

constexpr qsizetype MostErrors = 4000;
constexpr int TimeToEndMs = 200;

/// What a link needs whatever the user's configuration says of sessions: a pipe, and nothing of its own beside it.
QStringList Arguments(const QString& host, SshProcess::Attempt attempt)
{
    QStringList options = {QStringLiteral("ControlMaster=no"), QStringLiteral("ClearAllForwardings=yes"),
                           QStringLiteral("RemoteCommand=none")};
    if (attempt == SshProcess::Attempt::Again) options.append(QStringLiteral("ConnectTimeout=15"));
    if (attempt == SshProcess::Attempt::Beside)
        options << QStringLiteral("ConnectTimeout=2") << QStringLiteral("BatchMode=yes");
    if (attempt != SshProcess::Attempt::First) options.append(QStringLiteral("ControlPath=none"));
    QStringList arguments = {QStringLiteral("-T"), QStringLiteral("-a"), QStringLiteral("-x")};
    for (const QString& option : options) arguments << QStringLiteral("-o") << option;
    return arguments << QStringLiteral("--") << host << QStringLiteral("velsqlserver --connect");
}

void MakePipe(Descriptor& readEnd, Descriptor& writeEnd)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw DescribedError(QStringLiteral("No pipe could be made."));
    readEnd.Reset(ends[0]);
    writeEnd.Reset(ends[1]);
}

} // namespace

SshProcess::SshProcess(const QString& host, Attempt attempt)
{
    m_Process.setProgram(QStringLiteral("ssh"));
    m_Process.setArguments(Arguments(host, attempt));
    m_Process.setInputChannelMode(QProcess::ForwardedInputChannel);
    m_Process.setProcessChannelMode(QProcess::ForwardedOutputChannel);
    connect(&m_Process, &QProcess::readyReadStandardError, this, &SshProcess::KeepErrors);
    connect(&m_Process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        KeepErrors();
        Q_EMIT Ended(status == QProcess::NormalExit ? code : -1);
    });
    connect(&m_Process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) Q_EMIT Missing();
    });
}

SshProcess::~SshProcess()
{
    m_Process.disconnect(this);
    if (m_Process.state() == QProcess::NotRunning) return;
    // Told to end it takes those with it that it has started for jumps on the way; one that was stopped hears nothing.
    m_Process.terminate();
    if (m_Process.waitForFinished(TimeToEndMs)) return;
    m_Process.kill();
    m_Process.waitForFinished();
}

void SshProcess::Start()
{
    Descriptor input, output;
    MakePipe(input, m_ToSsh);
    MakePipe(m_FromSsh, output);
    m_Process.setChildProcessModifier([in = input.Number(), out = output.Number()] {
        dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        prctl(PR_SET_PDEATHSIG, SIGTERM); // a launcher that is killed leaves no ssh, nor those for jumps
    });
    m_Process.start();
}

void SshProcess::KeepErrors()
{
    m_Errors = (m_Errors + m_Process.readAllStandardError()).right(MostErrors);
}

QString SshProcess::LastWords() const
{
    return QString::fromLocal8Bit(m_Errors).trimmed();
}
