#pragma once

#include <QTemporaryDir>

#include <atomic>
#include <thread>

/// A server with faults, on a thread of its own. The engine's Start is never answered; a controller's Start sends its
/// subscriber so many changes of the state without waiting for the answers, before it is answered itself; and it may
/// have lost its controller.
class BrokenServer
{
public:
    static constexpr int Changes = 5000;

    /// What it answers to a ping.
    explicit BrokenServer(qint32 callsUnderWay);
    ~BrokenServer();

    QString SocketPath() const { return m_Folder.filePath(QStringLiteral("broken.sock")); }
    /// How many changes the subscriber has refused.
    int Refused() const { return m_State.Refused; }
    void LoseController(bool lost) { m_State.Lost = lost; }

    /// What its objects share with the test.
    struct State
    {
        qint32 CallsUnderWay;
        std::atomic<int> Refused = 0;
        std::atomic<bool> Lost = false;
        std::atomic<bool> Listening = false;
    };

private:
    void Serve();

    QTemporaryDir m_Folder;
    State m_State;
    int m_Ending[2] = {};
    std::thread m_Thread;
};
