#include "velsqllib/ServerStarter.h"

#include "core/automation/Errors.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <csignal>

namespace {

constexpr qint64 PatienceMs = 15'000;
constexpr unsigned long PauseMs = 10;
/// A console that crashed leaves its server for so long.
constexpr auto IdleSeconds = "10";

bool HasEnded(qint64 processId)
{
    return kill(static_cast<pid_t>(processId), 0) != 0 && errno == ESRCH;
}

/// What the server has to say to an operator, without time stamps and what it told a log on the way.
QString WithoutLogMarks(QString said)
{
    static const QRegularExpression Remark(QStringLiteral("^[-\\d]{10} [:.\\d]{12} (info|debug): .*\n?"),
                                           QRegularExpression::MultilineOption);
    static const QRegularExpression Mark(QStringLiteral("^[-\\d]{10} [:.\\d]{12} (error|warning): "),
                                         QRegularExpression::MultilineOption);
    return said.remove(Remark).remove(Mark);
}

} // namespace

QString FindServerProgram()
{
    const QString name = QStringLiteral("velsqlserver");
    const QString beside = QCoreApplication::applicationDirPath() + u'/' + name;
    return QFileInfo(beside).isExecutable() ? beside : QStandardPaths::findExecutable(name);
}

ServerStarter::ServerStarter(const QString& program, const QString& socketPath)
    : m_Program(program)
{
    if (program.isEmpty())
        throw ServerError(
            QStringLiteral("No VelSQL server is running, and the program \"velsqlserver\" was found neither beside "
                           "this program nor on the path."));
    m_Errors.open();
    QProcess process;
    process.setProgram(program);
    process.setArguments(
        {QStringLiteral("--stop-when-idle"), QString::fromLatin1(IdleSeconds), QStringLiteral("--socket"), socketPath});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(m_Errors.fileName());
    m_Started.start();
    if (!process.startDetached(&m_ProcessId))
        throw ServerError(QStringLiteral("The VelSQL server %1 could not be started.").arg(program));
}

void ServerStarter::WaitAWhile()
{
    const bool ended = HasEnded(m_ProcessId); // asked before reading, so that its last words are complete
    if (ended) throw ServerError(QStringLiteral("The VelSQL server %1 could not start. %2").arg(m_Program, Said()).trimmed());
    if (m_Started.elapsed() > PatienceMs)
        throw ServerError(QStringLiteral("The VelSQL server %1 did not get ready within %2 seconds. %3")
                              .arg(m_Program)
                              .arg(PatienceMs / 1000)
                              .arg(Said())
                              .trimmed());
    QThread::msleep(PauseMs);
}

QString ServerStarter::Said()
{
    constexpr qint64 enough = 4000;
    m_Errors.seek(qMax<qint64>(0, m_Errors.size() - enough));
    return WithoutLogMarks(QString::fromLocal8Bit(m_Errors.read(enough))).trimmed();
}
