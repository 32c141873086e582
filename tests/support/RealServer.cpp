#include "tests/support/RealServer.h"

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"

#include <QCoreApplication>
#include <QDir>
#include <QThread>

#include <array>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int PatienceMs = 60'000; // a plant of a million items on a busy machine

} // namespace

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
    std::array<int, 2> ready{};
    if (pipe(ready.data()) != 0 || fcntl(ready[0], F_SETFD, FD_CLOEXEC) != 0) qFatal("no pipe");
    const QStringList place = {QStringLiteral("--socket"), SocketPath(), QStringLiteral("--ready-fd"),
                               QString::number(ready[1])};
    m_Process.start(Program(), place + arguments);
    close(ready[1]);
    pollfd readable{ready[0], POLLIN, 0};
    char byte = 0;
    if (poll(&readable, 1, PatienceMs) != 1 || read(ready[0], &byte, 1) != 1) qFatal("the server did not start");
    close(ready[0]);
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
