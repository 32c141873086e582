#pragma once

#include <QTemporaryDir>

#include <atomic>
#include <thread>

/// A server with faults, on a thread of its own. The engine's Start is never answered; a controller's Start sends its subscriber so many
/// changes of the state without waiting for the answers, before it is answered itself.
class BrokenServer
{
public:
    static constexpr int Changes = 5000;

    /// What it answers to a ping.
    explicit BrokenServer(qint32 callsUnderWay);
    ~BrokenServer();

    QString SocketPath() const { return m_Folder.filePath(QStringLiteral("broken.sock")); }
    /// How many changes the subscriber has refused.
    int Refused() const { return m_Refused; }

private:
    void Serve(qint32 callsUnderWay, int ending);

    QTemporaryDir m_Folder;
    std::atomic<int> m_Refused = 0;
    std::atomic<bool> m_Listening = false;
    int m_Ending[2] = {};
    std::thread m_Thread;
};
