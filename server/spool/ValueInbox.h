#pragma once

#include "server/spool/SharedTail.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <stop_token>
#include <vector>

/// Where the event loop puts values, and others take all of them at once: so the loop never waits while these copy,
/// sort or forget values.
class ValueInbox
{
public:
    using Clock = std::chrono::steady_clock;

    /// Returns the memory that the values here take now, in bytes. Called by one thread only.
    qint64 Add(RecordedValue value);

    /// From now on values are put there as well, with their number from the beginning on as sequence.
    void Shelter(std::unique_ptr<SharedTail> tail);
    bool HasShelter() const { return m_Tail != nullptr; }
    /// The values up to there need it no more.
    void NoteSafe(quint64 sequence);
    /// Whether values have come since the last call that the end of the process would take along.
    bool TakeExposed() { return m_HasExposed.exchange(false); }

    struct Values
    {
        std::vector<RecordedValue> List;
        qint64 Bytes = 0;
    };
    Values Take();

    /// Waits until so many values have been added since the beginning, taken ones included, but not beyond `end` and
    /// not when told to stop.
    void WaitUntilAdded(quint64 count, const std::stop_token& stop, Clock::time_point end = Clock::time_point::max());

    /// Memory that a value takes while it waits, in bytes.
    static qint64 BytesOf(const RecordedValue& value);

private:
    bool IsSheltered(const RecordedValue& value);

    static constexpr quint64 Nobody = std::numeric_limits<quint64>::max();

    std::unique_ptr<SharedTail> m_OwnTail;
    std::atomic<SharedTail*> m_Tail = nullptr;
    std::atomic<bool> m_HasExposed = false;
    std::mutex m_Guard;
    std::condition_variable_any m_HasCome;
    Values m_Values;
    quint64 m_Added = 0;
    quint64 m_WaitedFor = Nobody; ///< when so many have been added somebody is to be woken
};
