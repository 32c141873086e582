#include "bench/BenchConsole.h"

#include "core/modMain.h"

#include <QCoreApplication>
#include <QFile>

namespace {

QString RelayedPath(const RealServer& server)
{
    return server.SocketPath() + QStringLiteral(".relay");
}

} // namespace

BenchConsole::BenchConsole(const QStringList& itemNames, const std::function<void()>& beforeStart, int oneWayMs)
    : m_Library(oneWayMs > 0 ? RelayedPath(m_Server) : m_Server.SocketPath(), QString())
{
    if (beforeStart) beforeStart();
    m_Server.Start();
    if (oneWayMs > 0) StartRelay(oneWayMs);
    m_MainWindow.Widget()->show();
    m_MainWindow.BuildTree(itemNames);
    modMain::Engine = m_Library.CreateEngine();
    modMain::History = modMain::Engine->get_History();
}

BenchConsole::~BenchConsole()
{
    m_Relay.kill();
    m_Relay.waitForFinished();
}

void BenchConsole::StartRelay(int oneWayMs)
{
    m_Relay.setProcessChannelMode(QProcess::ForwardedChannels);
    m_Relay.start(QCoreApplication::applicationDirPath() + QStringLiteral("/delaying_relay"),
                  {RelayedPath(m_Server), m_Server.SocketPath(), QString::number(oneWayMs)});
    while (!QFile::exists(RelayedPath(m_Server))) {
        if (m_Relay.waitForFinished(10)) qFatal("the relay did not start");
    }
}

TreeNodeRef BenchConsole::ControllerNode()
{
    return modMain::EngineNode->Child(0);
}

ControllerRef BenchConsole::Controller()
{
    return modMain::Engine->get_Controller(Variant(ControllerNode()->Text()));
}

ItemRef BenchConsole::Item(const QString& name)
{
    return Controller()->get_Item(Variant(name));
}
