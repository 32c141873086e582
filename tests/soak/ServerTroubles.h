#pragma once

#include "tests/soak/SoakFault.h"
#include "tests/support/RealServer.h"

#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <random>
#include <vector>

/// What happens to the console's server, in a thread of its own: a call of the console may wait for it meanwhile.
class ServerTroubles
{
public:
    explicit ServerTroubles(RealServer& server);
    /// Ends the server.
    ~ServerTroubles();
    ServerTroubles(const ServerTroubles&) = delete;
    ServerTroubles& operator=(const ServerTroubles&) = delete;

    const std::vector<SoakFault>& All() const { return m_All; }
    /// Returns when the server is ready, on the plant that it had last.
    void Start();
    /// Lets it happen after a while and puts it right; returns at once.
    void Begin(const SoakFault& trouble, int delayMs, int pauseMs, int plant);
    bool AreOver() const { return m_AreOver; }

private:
    template <typename Action>
    void InThread(Qt::ConnectionType how, Action action);
    void StartServer();
    void Pulse();

    RealServer& m_Server;
    const QTemporaryDir m_Plants;
    QThread m_Thread;
    std::atomic<bool> m_AreOver = true;
    int m_Plant = 0;
    int m_NextPlant = 0;
    const std::vector<SoakFault> m_All;
};
