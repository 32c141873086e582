#pragma once

#include "server/sources/replay/ReplaySignal.h"
#include "server/worker/Worker.h"

/// A recording that is read from its file on a thread, since nobody knows how long a file takes: it may lie on a disk of
/// another machine. It has no value before.
class ReplayVariable : public SourceVariable
{
public:
    ReplayVariable(const QString& path, VarType type, bool repeats);

    /// Waits no longer than `patience` for the file. Throws DescribedError when it turns out to be no recording.
    void Await(std::chrono::milliseconds patience);
    /// Throws DescribedError when the file is no recording.
    std::optional<Variant> AtOnce(double seconds, VarType type) override;

private:
    struct Reading
    {
        std::vector<ReplayedValue> Values;
        QString Failure;
    };

    const bool m_Repeats;
    const std::shared_ptr<Reading> m_Reading = std::make_shared<Reading>(); ///< the thread's until that is done
    std::optional<Worker> m_Worker;                                         ///< null when it is done
    std::optional<ReplaySignal> m_Signal; ///< null until then, and when there is a failure
};
