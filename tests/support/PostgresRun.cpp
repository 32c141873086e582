#include "tests/support/PostgresRun.h"

#include <QDir>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int Patience = 60'000; // milliseconds
const QString s_User = u"postgres"_s;

} // namespace

PostgresRun::PostgresRun()
{
    const QDir versions(u"/usr/lib/postgresql"_s);
    const QStringList names = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    if (names.isEmpty()) {
        m_Problem = u"PostgreSQL is not installed"_s;
        return;
    }
    m_Programs = versions.filePath(names.last()) + u"/bin/"_s;
    if (geteuid() == 0) QProcess::execute(u"chown"_s, {s_User, m_Folder.path()});
    QProcess initialise;
    Run(initialise, u"initdb --auth=trust --encoding=UTF8 --no-sync --username=test -D data"_s);
    if (initialise.waitForFinished(Patience) && initialise.exitCode() == 0) Start();
    else m_Problem = u"initdb: "_s + QString::fromUtf8(initialise.readAllStandardError());
}

QString PostgresRun::ConnectionString(const QString& user) const
{
    return u"Driver=PostgreSQL;Server=%1;Database=postgres;Uid=%2"_s.arg(m_Folder.path(), user);
}

void PostgresRun::Start()
{
    Run(m_Server, u"postgres -D data -c listen_addresses= -c fsync=off -k "_s + m_Folder.path());
    m_Server.setReadChannel(QProcess::StandardError);
    QByteArray said;
    while (!said.contains("ready to accept connections")) {
        if (!m_Server.waitForReadyRead(Patience)) {
            m_Problem = QString::fromUtf8(said);
            return;
        }
        said += m_Server.readAllStandardError();
    }
}

void PostgresRun::Stop()
{
    if (m_Server.state() == QProcess::NotRunning) return;
    kill(static_cast<pid_t>(m_Server.processId()), SIGINT); // at once, whoever is connected
    m_Server.waitForFinished(Patience);
}

void PostgresRun::Run(QProcess& process, const QString& command) const
{
    QStringList wrapped = {u"--pdeathsig=INT"_s}; // it does not outlive a test that crashes
    if (geteuid() == 0) wrapped += {u"--reuid="_s + s_User, u"--regid="_s + s_User, u"--clear-groups"_s};
    process.setWorkingDirectory(m_Folder.path());
    process.start(u"setpriv"_s, wrapped + (m_Programs + command).split(u' '));
}
