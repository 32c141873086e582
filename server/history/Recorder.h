#pragma once

#include "server/spool/WaitingValues.h"
#include "server/worker/Worker.h"

#include <optional>

/// Writes values to one destination, in batches and on a thread of its own. While the database is away, values wait on
/// disk, kept there by a second thread.
class Recorder
{
public:
    /// `number` names the destination in the log. Throws DescribedError for a wrong connection string.
    Recorder(int number, const HistoryDestination& destination, const SpoolSettings& spool);
    /// Writes the waiting values, unless that takes too long: then they stay on disk for the next server.
    ~Recorder();

    /// Never waits for the database.
    void Record(RecordedValue value) { m_Waiting->Add(std::move(value)); }
    /// Waits until everything recorded so far has been written or `milliseconds` have passed. Returns whether all was
    /// written.
    bool Flush(int milliseconds) { return m_Waiting->WaitUntilWritten(std::chrono::milliseconds(milliseconds)); }
    /// See Worker::RequestStop.
    void RequestStop() { m_Writer->RequestStop(); }

private:
    class Writer;

    const int m_Number;
    std::shared_ptr<WaitingValues> m_Waiting;
    std::optional<Worker> m_Keeper;
    std::optional<Worker> m_Writer;
};
