#pragma once

#include "core/automation/Errors.h"

#include <atomic>

/// How far the reading of a plant is; may be asked, and ended, from another thread.
class ReadingProgress
{
public:
    qint64 Items() const { return m_Items; }
    /// Reading ends soon, with a DescribedError, and leaves the plant alone from then on.
    void Cancel() { m_IsCancelled = true; }
    bool IsCancelled() const { return m_IsCancelled; }

    /// For the reader, these two: throws when reading was cancelled.
    void Check() const
    {
        if (m_IsCancelled) throw DescribedError(QStringLiteral("The plant is no longer wanted."));
    }
    /// One more item. Returns how many there are.
    qint64 Add()
    {
        Check();
        return ++m_Items;
    }

private:
    std::atomic<qint64> m_Items = 0;
    std::atomic<bool> m_IsCancelled = false;
};
