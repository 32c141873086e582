#include "perfcheck/PerformanceLoop.h"

#include "core/automation/VariantCompare.h"
#include "core/modAPI.h"
#include "core/modValues.h"

#include <QCoreApplication>

#include <concepts>
#include <limits>

namespace {

class Cycles
{
public:
    explicit Cycles(const CheckTask& task)
        : m_Task(task)
    {
    }

    /// One cycle; false when the run is to end. Only what is to be measured belongs here.
    bool Run()
    {
        if (m_Task.Writes && !Step(CheckResult::WriteFailed, [this] { m_Task.Item->put_Value(m_Task.Value); }))
            return false;
        if (m_Task.Reads && !Step(CheckResult::ReadFailed, [this] { Read(); })) return false;
        if (m_Task.ChecksData && m_HasRead && !SameValue(m_Task.Value, m_Read)) {
            m_Result = CheckResult::DataDiffers;
            return false;
        }
        QCoreApplication::processEvents();
        return true;
    }

    CheckResult Result() const { return m_Result; }

private:
    /// An ignored failure is still the result of the run: ignoring it keeps the load running but hides nothing.
    template <std::invocable Action>
    bool Step(CheckResult failure, Action&& action)
    {
        try {
            action();
            return true;
        } catch (...) {
            m_Result = failure;
            return m_Task.IgnoresErrors;
        }
    }

    void Read()
    {
        m_HasRead = false;
        m_Read = m_Task.Item->get_Value();
        m_HasRead = true;
        if (m_Task.OutputsValue) modAPI::OutputDebugString(modMain::Converter().ValueToText(m_Read, 0));
    }

    const CheckTask& m_Task;
    Variant m_Read;
    /// Whether `m_Read` was read in this cycle: after a failed read there is nothing to compare.
    bool m_HasRead = false;
    CheckResult m_Result = CheckResult::Success;
};

void RunTimedLoop(Cycles& cycles, quint32 start, qint32 duration, const bool& stop)
{
    const auto isOver = [&] { return ElapsedTicks(start, modAPI::GetTickCount()) >= static_cast<quint32>(duration); };
    while (!isOver() && !stop && cycles.Run()) {
    }
}

void RunCountedLoop(Cycles& cycles, qint32 count, const bool& stop)
{
    for (qint32 i = 0; i < count && !stop && cycles.Run(); ++i) {
    }
}

void RunEndlessLoop(Cycles& cycles, const bool& stop)
{
    while (!stop && cycles.Run()) {
    }
}

} // namespace

quint32 ElapsedTicks(quint32 start, quint32 end)
{
    return end < start ? (std::numeric_limits<quint32>::max() - start) + end : end - start;
}

CheckResult RunPerformanceLoop(const CheckTask& task, const CheckPattern& pattern, quint32 start, const bool& stop)
{
    Cycles cycles(task);
    switch (pattern.Repeats) {
    case CheckPattern::Kind::Timed: RunTimedLoop(cycles, start, pattern.Duration, stop); break;
    case CheckPattern::Kind::Counted: RunCountedLoop(cycles, pattern.Count, stop); break;
    case CheckPattern::Kind::Endless: RunEndlessLoop(cycles, stop); break;
    }
    return cycles.Result();
}
