#include "scripttool/ScriptProcess.h"

#include "core/automation/Errors.h"
#include "core/Platform.h"

#include <algorithm>
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr qsizetype BytesATurn = 64 * 1024;
constexpr int PatienceMs = 500;
// velsqlscript --mark-errors puts these around an error in its output; UTF-8 text never contains these bytes.
constexpr char ErrorBegins = '\xFE';
constexpr char ErrorEnds = '\xFF';

bool IsMark(char byte)
{
    return byte == ErrorBegins || byte == ErrorEnds;
}

QString HowItEnded(int exitCode, QProcess::ExitStatus status)
{
    if (status == QProcess::CrashExit)
        return QStringLiteral("The script process ended unexpectedly (signal %1).").arg(exitCode);
    return exitCode == 0 ? QStringLiteral("Ended.") : QStringLiteral("Failed (exit code %1).").arg(exitCode);
}

} // namespace

ScriptProcess::Source::Source(Channel channel)
    : Own(channel)
    , Kind(channel)
    , Arrival(Pipe.ReadingEnd(), QSocketNotifier::Read)
{
}

ScriptProcess::ScriptProcess(QObject* parent)
    : QObject(parent)
{
    m_Pause.setSingleShot(true);
    m_Patience.setSingleShot(true);
    connect(&m_Process, &QProcess::finished, this, &ScriptProcess::Process_Finished);
    connect(&m_Process, &QProcess::errorOccurred, this, &ScriptProcess::Process_Failed);
    connect(&m_Pause, &QTimer::timeout, this, &ScriptProcess::TurnIsOver);
    connect(&m_Patience, &QTimer::timeout, this, [this] { Signal(SIGKILL); });
}

ScriptProcess::~ScriptProcess()
{
    m_Process.disconnect(this);
    Signal(SIGKILL);
    if (m_Process.state() != QProcess::NotRunning) m_Process.waitForFinished();
}

void ScriptProcess::Start(const QString& program, const QStringList& arguments, const QByteArray& script)
{
    try {
        OpenSources();
    } catch (const DescribedError& error) {
        return Fail(QStringLiteral("The script could not be started: ") + error.Description());
    }
    SetUpChild();
    m_Process.start(program, arguments);
    if (m_Process.state() == QProcess::NotRunning) return;
    m_Group = m_Process.processId();
    setpgid(static_cast<pid_t>(m_Group),
            // Parent and child both do this, because either may come first.
            static_cast<pid_t>(m_Group));
    m_Output->Pipe.CloseWritingEnd();
    m_Errors->Pipe.CloseWritingEnd();
    m_Process.write(script);
    m_Process.closeWriteChannel();
}

void ScriptProcess::OpenSources()
{
    m_Output = std::make_unique<Source>(Channel::Output);
    m_Errors = std::make_unique<Source>(Channel::Errors);
    connect(&m_Output->Arrival, &QSocketNotifier::activated, this, &ScriptProcess::TakeTurn);
    connect(&m_Errors->Arrival, &QSocketNotifier::activated, this, &ScriptProcess::TakeTurn);
}

/// QProcess would read without limit, so the process writes to our own pipes.
void ScriptProcess::SetUpChild()
{
    m_Process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_Process.setChildProcessModifier([output = m_Output->Pipe.WritingEnd(), errors = m_Errors->Pipe.WritingEnd()] {
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        setpgid(0, 0);
        // A console that crashes leaves no script behind.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    });
}

void ScriptProcess::Stop()
{
    if (std::exchange(m_Stopped, true)) return;
    Signal(SIGTERM);
    m_Patience.start(PatienceMs);
}

void ScriptProcess::Signal(int signal)
{
    if (m_Group > 0) kill(static_cast<pid_t>(-m_Group), signal);
}

void ScriptProcess::Listen()
{
    m_Output->Arrival.setEnabled(!m_Output->Pipe.IsAtEnd());
    m_Errors->Arrival.setEnabled(!m_Errors->Pipe.IsAtEnd());
}

void ScriptProcess::TakeTurn()
{
    m_Output->Arrival.setEnabled(false);
    m_Errors->Arrival.setEnabled(false);
    m_Turn.start();
    // Errors without marks, for example those of a crash, come last.
    m_MoreWaits = Deliver(*m_Output) || Deliver(*m_Errors);
    m_Pause.start(static_cast<int>(std::max<qint64>(FrameMs, m_Turn.elapsed()))); // at most half of the time
}

/// True when there may be more to read.
bool ScriptProcess::Deliver(Source& source)
{
    if (source.Unread.isEmpty()) source.Unread = source.Pipe.Read(BytesATurn);
    const bool isFull = source.Unread.size() == BytesATurn;
    QByteArrayView rest = source.Unread;
    while (!rest.isEmpty() && m_Turn.elapsed() <= FrameMs) {
        const qsizetype length = std::find_if(rest.begin(), rest.end(), IsMark) - rest.begin();
        const QString text = source.Decode(rest.first(length));
        if (!text.isEmpty()) Q_EMIT Printed(source.Kind, text);
        const bool isAtMark = length < rest.size();
        if (isAtMark) source.Kind = rest[length] == ErrorBegins ? Channel::Errors : source.Own;
        rest = rest.sliced(length + isAtMark);
    }
    source.Unread = rest.toByteArray();
    return isFull || !source.Unread.isEmpty();
}

void ScriptProcess::TurnIsOver()
{
    const bool isAllRead = m_Output->Unread.isEmpty() && m_Errors->Unread.isEmpty();
    if (m_How.isEmpty()) return isAllRead ? Listen() : TakeTurn();
    // The process has ended; the output of its own children is still read until they pause or are stopped.
    if (m_MoreWaits && !m_Stopped) return TakeTurn();
    if (m_Stopped) Signal(SIGKILL);
    m_Group = 0;
    Q_EMIT Ended(m_How);
}

void ScriptProcess::Process_Finished(int exitCode, QProcess::ExitStatus status)
{
    m_How = m_Stopped ? QStringLiteral("Stopped.") : HowItEnded(exitCode, status);
    TakeTurn();
}

void ScriptProcess::Process_Failed(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart)
        Fail(QStringLiteral("The script could not be started: ") + m_Process.errorString());
}

void ScriptProcess::Fail(const QString& how)
{
    m_Group = 0;
    Q_EMIT Printed(Channel::Errors, how + QLatin1Char('\n'));
    Q_EMIT Ended(how);
}
