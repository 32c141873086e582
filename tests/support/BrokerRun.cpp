#include "tests/support/BrokerRun.h"

#include <QDeadlineTimer>
#include <QFile>

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

sockaddr_in Local(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int FreePort()
{
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    auto address = Local(0);
    socklen_t size = sizeof address;
    bind(probe, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

bool IsListening(int port)
{
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    const auto address = Local(port);
    const bool connects = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return connects;
}

} // namespace

BrokerRun::BrokerRun(const QByteArray& settings)
    : m_Port(FreePort())
{
    QFile file(m_Folder.filePath(u"broker.conf"_s));
    if (file.open(QIODevice::WriteOnly))
        file.write("listener " + QByteArray::number(m_Port) + " 127.0.0.1\nuser root\nlog_type error\n" + settings);
    file.close();
    Start();
}

void BrokerRun::Start()
{
    m_Broker.setWorkingDirectory(m_Folder.path());
    m_Broker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin"); // where it is, and not every user looks
    m_Broker.start(u"setpriv"_s, {u"--pdeathsig=KILL"_s, u"mosquitto"_s, u"-c"_s, u"broker.conf"_s});
    const QDeadlineTimer deadline(20'000);
    while (!IsListening(m_Port)) {
        if (deadline.hasExpired()) qFatal("The broker does not listen.");
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void BrokerRun::Stop()
{
    m_Broker.terminate();
    m_Broker.waitForFinished();
}

void BrokerRun::Run(QProcess& client, const QStringList& words) const
{
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.start(words[0], QStringList{u"-h"_s, u"127.0.0.1"_s, u"-p"_s, QString::number(m_Port)} + words.mid(1));
}

void BrokerRun::Publish(const QStringList& words, const QByteArray& message) const
{
    QProcess client;
    Run(client, QStringList(u"mosquitto_pub"_s) + words + QStringList{u"-q"_s, u"1"_s, u"-s"_s});
    client.write(message);
    client.closeWriteChannel();
    client.waitForFinished();
}
