#pragma once

#include "velsqllib/ServerSocket.h"

#include <QTemporaryDir>

#include <atomic>
#include <sys/eventfd.h>
#include <thread>

/// A server with faults, on a thread of its own. The engine's Start is never answered; a controller's Start sends its
/// subscriber so many changes of the state without waiting for the answers, before it is answered itself.
class BrokenServer
{
public:
    static constexpr int Changes = 5000;

    ~BrokenServer();

    QString SocketPath() const { return m_Socket.Path(); }

    /// What it answers to a ping.
    std::atomic<qint32> m_CallsUnderWay = -1;
    /// It has lost its controller.
    std::atomic<bool> m_Lost = false;
    /// How many changes the subscriber has refused.
    std::atomic<int> m_Refused = 0;

private:
    void Serve();

    QTemporaryDir m_Folder;
    const ListeningSocket m_Socket{m_Folder.filePath(QStringLiteral("broken.sock"))};
    const int m_Ending = eventfd(0, 0);
    std::jthread m_Thread{[this] { Serve(); }};
};
