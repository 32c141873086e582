#pragma once

#include <atomic>
#include <QtGlobal>

/// What the writer of a history tells those who look after its partitions on another thread, and they it.
struct WriteProgress
{
    std::atomic<qint64> Time = 0;         ///< of the last value that was written, microseconds since 1970
    std::atomic<qint64> WrittenAt = 0;    ///< when that was, likewise
    std::atomic<double> Rate = 1e9;       ///< values a second of late; very many while it is not known
    std::atomic<bool> IsEnding = false;   ///< the server ends
    std::atomic<bool> HasDropped = false; ///< rows have been dropped: counts are void
};
