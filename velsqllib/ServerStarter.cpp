#include "velsqllib/ServerStarter.h"

#include "core/automation/Errors.h"
#include "velsqllib/StateFolder.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

namespace {

constexpr qint64 PatienceMs = 15'000;
constexpr qint64 EndMs = 1000;
constexpr unsigned long PauseMs = 10;
/// How long a server stays after its console has crashed.
constexpr auto IdleSeconds = "10";

/// Also before its parent, which this process is not, has taken note.
bool HasEnded(qint64 processId)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(processId));
    if (!status.open(QIODevice::ReadOnly)) return true;
    const QByteArray text = status.readAll(); // "<id> (<name>) <state> ..."
    const char state = text.mid(text.lastIndexOf(')') + 2, 1).append(' ').front();
    return text.isEmpty() || state == 'Z' || state == 'X';
}

QElapsedTimer Now()
{
    QElapsedTimer now;
    now.start();
    return now;
}

/// The messages for an operator: no time stamps, no info and debug lines.
QString WithoutLogMarks(QString said)
{
    static const QRegularExpression Remark(QStringLiteral("^[-\\d]{10} [:.\\d]{12} (info|debug): .*\n?"),
                                           QRegularExpression::MultilineOption);
    static const QRegularExpression Mark(QStringLiteral("^[-\\d]{10} [:.\\d]{12} (error|warning): "),
                                         QRegularExpression::MultilineOption);
    return said.remove(Remark).remove(Mark);
}

} // namespace

ServerStarter::ServerStarter(const QString& program, const QString& socketPath)
    : m_Program(program)
{
    if (program.isEmpty())
        throw ServerError(
            QStringLiteral("No VelSQL server is running, and the program \"velsqlserver\" was found neither beside "
                           "this program nor on the path."));
    m_Log = ServerLogPath(socketPath);
    m_Errors.open();
    QProcess process;
    process.setProgram(program);
    process.setArguments({QStringLiteral("--stop-when-idle"), QString::fromLatin1(IdleSeconds),
                          QStringLiteral("--socket"), socketPath, QStringLiteral("--log-file"), m_Log});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(m_Errors.fileName());
    m_Started.start();
    if (!process.startDetached(&m_ProcessId))
        throw ServerError(QStringLiteral("The VelSQL server %1 could not be started.").arg(program));
}

void ServerStarter::WaitAWhile()
{
    // Checked before reading, so that the server's last words are complete.
    const bool ended = HasEnded(m_ProcessId);
    if (ended) Fail(QStringLiteral("could not start"));
    if (m_Started.elapsed() > PatienceMs)
        Fail(QStringLiteral("did not get ready within %1 seconds").arg(PatienceMs / 1000));
    QThread::msleep(PauseMs);
}

void ServerStarter::WaitForEnd()
{
    for (const QElapsedTimer since = Now(); since.elapsed() < EndMs; QThread::msleep(PauseMs)) {
        if (HasEnded(m_ProcessId)) Fail(QStringLiteral("could not start"));
    }
}

void ServerStarter::Fail(const QString& what)
{
    QStringList lines = {QStringLiteral("The VelSQL server %1 %2. %3").arg(m_Program, what, Said()).trimmed()};
    lines.append(QStringLiteral("Its log is %1.").arg(m_Log));
    throw ServerError(lines.join(u'\n'));
}

QString ServerStarter::Said()
{
    constexpr qint64 enough = 4000;
    m_Errors.seek(qMax<qint64>(0, m_Errors.size() - enough));
    return WithoutLogMarks(QString::fromLocal8Bit(m_Errors.read(enough))).trimmed();
}
