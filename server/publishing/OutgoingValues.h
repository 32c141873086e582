#pragma once

#include "server/spool/Spool.h"

#include <stop_token>

/// The values that wait to be sent, in order: filled by the event loop, emptied by a thread that sends them.
class OutgoingValues
{
public:
    OutgoingValues() = default;
    OutgoingValues(const OutgoingValues&) = delete;
    OutgoingValues& operator=(const OutgoingValues&) = delete;
    virtual ~OutgoingValues() = default;

    /// Never waits. Where there is no room the oldest are dropped.
    virtual void Add(RecordedValue value) = 0;
    /// The oldest values, which go on waiting until they are Written; waits for one. Empty when told to stop.
    virtual SpoolBatch Next(const std::stop_token& stop) = 0;
    virtual void Written(SpoolPosition position) = 0;
    /// Since the last call.
    virtual DroppedValues TakeDropped() = 0;
    /// The server ends, and nothing is sent any more. Returns how many are lost.
    virtual quint64 Finish() = 0;
};

using OutgoingValuesRef = std::shared_ptr<OutgoingValues>;

/// They wait in memory: `most` of them, and 64 MB.
OutgoingValuesRef MakeValuesInMemory(std::size_t most);
/// What has waited for a moment is on disk, also for the next server. `name` stands in front of what is logged, and
/// `destination` says whose values they are.
OutgoingValuesRef MakeValuesOnDisk(const QString& name, const SpoolSettings& settings, const QString& destination);
