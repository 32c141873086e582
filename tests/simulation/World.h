#pragma once

#include "tests/simulation/SimulatedClient.h"

/// Everything that takes part in a run.
struct World
{
    World(KjLoop& loop, quint64 seed, Trace& trace)
        : Loop(loop)
        , Chance(seed)
        , Log(trace)
        , Server(loop, Chance, trace)
    {
    }

    KjLoop& Loop;
    Random Chance;
    Trace& Log;
    SimulatedServer Server;
    Book Known;
    std::array<std::unique_ptr<SimulatedClient>, SimulatedServer::MostClients> Clients;
    std::vector<int> Weights; ///< how often each operation is done; empty before the first one
    int LastName = 0;
    qint32 LastNumber = 0;

    /// One of the clients; null when there is none.
    SimulatedClient* AnyClient();
};
