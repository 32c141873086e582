#include "tests/support/RealServer.h"

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

#include <memory>
#include <sys/prctl.h>
#include <unistd.h>

RealServer::RealServer()
{
    for (const auto& [variable, folder] : {std::pair{"XDG_RUNTIME_DIR", "run"},
                                           {"XDG_CONFIG_HOME", "config"},
                                           {"XDG_STATE_HOME", "state"},
                                           {"XDG_CACHE_HOME", "cache"},
                                           {"XDG_DATA_HOME", "data"}}) {
        const QString path = m_Folder.filePath(QString::fromLatin1(folder));
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, QFile::encodeName(path));
    }
    m_Process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_Process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); }); // a test that crashes leaves no server
}

QString RealServer::Program()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/velsqlserver");
}

QString RealServer::Answer(const QString& command) const
{
    QString answer;
    const std::unique_ptr<QThread> client(QThread::create([&] {
        try {
            RemoteLibrary library(SocketPath(), QString());
            answer = ToPlainText(library.AttachEngine()->Execute(command));
        } catch (const DescribedError& error) {
            answer = error.Description();
        }
    }));
    client->start();
    client->wait();
    return answer;
}

void RealServer::Start(const QStringList& arguments)
{
    m_Process.start(Program(), QStringList{QStringLiteral("--socket"), SocketPath()} + arguments);
    const QDeadlineTimer patience(20'000);
    int connection = -1;
    while ((connection = ConnectToServer(SocketPath())) < 0) {
        if (patience.hasExpired()) qFatal("the server did not start");
        QThread::msleep(10);
    }
    close(connection);
}

void RealServer::Kill()
{
    if (m_Process.state() == QProcess::NotRunning) return;
    Signal(SIGKILL);
    m_Process.waitForFinished();
}

int RealServer::Terminate()
{
    Signal(SIGTERM);
    return m_Process.waitForFinished() ? m_Process.exitCode() : -1;
}
