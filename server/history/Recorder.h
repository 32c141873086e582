#pragma once

#include "server/database/HistoryTable.h"
#include "server/history/Worker.h"

#include <optional>

/// Writes values to one destination, in batches and on a thread of its own. While the database is away, values wait.
class Recorder
{
public:
    /// Beyond these bounds the oldest of the waiting values are dropped.
    static constexpr std::size_t MostWaiting = 200'000;
    static constexpr qint64 MostBytesWaiting = 64 * 1024 * 1024;

    /// `number` names the destination in the log. Throws DescribedError for a wrong connection string.
    Recorder(int number, const HistoryDestination& destination);
    /// Writes the waiting values, unless that takes too long, and logs how many are lost.
    ~Recorder();

    /// Never waits for the database.
    void Record(RecordedValue value);
    /// Waits until everything recorded so far has been written or `milliseconds` have passed. Returns whether all was
    /// written.
    bool Flush(int milliseconds);
    /// See Worker::RequestStop.
    void RequestStop() { m_Worker->RequestStop(); }

private:
    class Queue;
    class Writer;

    const int m_Number;
    std::shared_ptr<Queue> m_Queue;
    std::optional<Worker> m_Worker;
};
