#pragma once

#include "server/database/HistoryDestination.h"
#include "server/postgreshistory/WriteProgress.h"

#include <memory>
#include <thread>

/// Looks after a partitioned history, on a thread and a connection of its own, so that recording never waits for it:
/// makes partitions ahead, closes and sorts those that have been filled, sums up, and lets the oldest go. Of several
/// servers that record into one history, one does so at a time.
class Upkeep
{
public:
    Upkeep(HistoryDestination destination, std::shared_ptr<WriteProgress> progress);
    /// Breaks off what it is doing; the next one goes on with it.
    ~Upkeep();

private:
    struct Breaker;
    class Work;

    const std::shared_ptr<WriteProgress> m_Progress;
    std::shared_ptr<Breaker> m_Breaker;
    std::jthread m_Thread;
};
