#include "tests/support/PostgresRun.h"

#include <csignal>
#include <QDir>
#include <unistd.h>

namespace {

constexpr int Patience = 60'000; // milliseconds
const QString s_User = QStringLiteral("postgres");

} // namespace

PostgresRun::PostgresRun()
{
    const QDir versions(QStringLiteral("/usr/lib/postgresql"));
    const QStringList names = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    if (names.isEmpty()) {
        m_Problem = QStringLiteral("PostgreSQL is not installed");
        return;
    }
    m_Programs = versions.filePath(names.last()) + QStringLiteral("/bin/");
    QProcess initialise;
    if (geteuid() == 0) QProcess::execute(QStringLiteral("chown"), {s_User, m_Folder.path()});
    Run(initialise, m_Programs + QStringLiteral("initdb"),
        {QStringLiteral("--auth=trust"), QStringLiteral("--encoding=UTF8"), QStringLiteral("--no-sync"),
         QStringLiteral("--username=test"), QStringLiteral("-D"), m_Folder.filePath(QStringLiteral("data"))});
    if (Finish(initialise)) Start();
}

PostgresRun::~PostgresRun()
{
    Stop();
}

QString PostgresRun::ConnectionString(const QString& user) const
{
    return QStringLiteral("Driver=PostgreSQL;Server=%1;Database=postgres;Uid=%2").arg(m_Folder.path(), user);
}

void PostgresRun::Start()
{
    Run(m_Server, m_Programs + QStringLiteral("postgres"),
        {QStringLiteral("-D"), m_Folder.filePath(QStringLiteral("data")), QStringLiteral("-k"), m_Folder.path(),
         QStringLiteral("-c"), QStringLiteral("listen_addresses="), QStringLiteral("-c"), QStringLiteral("fsync=off")});
    m_Server.setReadChannel(QProcess::StandardError);
    QByteArray said;
    while (!said.contains("ready to accept connections") && m_Server.waitForReadyRead(Patience))
        said += m_Server.readAllStandardError();
    if (!said.contains("ready to accept connections")) m_Problem = QString::fromUtf8(said);
}

void PostgresRun::Stop()
{
    if (m_Server.state() == QProcess::NotRunning) return;
    kill(static_cast<pid_t>(m_Server.processId()), SIGINT); // at once, whoever is connected
    m_Server.waitForFinished(Patience);
}

void PostgresRun::Run(QProcess& process, const QString& program, const QStringList& arguments) const
{
    QStringList wrapped = {QStringLiteral("--pdeathsig=INT")}; // it does not outlive a test that crashes
    if (geteuid() == 0)
        wrapped += {QStringLiteral("--reuid=") + s_User, QStringLiteral("--regid=") + s_User,
                    QStringLiteral("--clear-groups")};
    process.setWorkingDirectory(m_Folder.path());
    process.start(QStringLiteral("setpriv"), wrapped + QStringList(program) + arguments);
}

bool PostgresRun::Finish(QProcess& process)
{
    if (process.waitForFinished(Patience) && process.exitCode() == 0) return true;
    m_Problem = process.program() + u' ' + process.arguments().join(u' ') + QStringLiteral(": ") +
                QString::fromUtf8(process.readAllStandardError());
    return false;
}
