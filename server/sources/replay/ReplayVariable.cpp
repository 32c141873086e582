#include "server/sources/replay/ReplayVariable.h"

#include "core/automation/Errors.h"
#include "server/sources/replay/ReplayFile.h"

using namespace std::chrono_literals;

ReplayVariable::ReplayVariable(const QString& path, VarType type, bool repeats)
    : m_Repeats(repeats)
{
    const auto read = [=, reading = m_Reading](const std::stop_token&) {
        try {
            reading->Values = ReadReplayFile(path, type);
        } catch (...) {
            reading->Failure = CurrentErrorDescription();
        }
    };
    m_Worker.emplace(read, 0s); // with a file that hangs it is left to itself
}

void ReplayVariable::Await(std::chrono::milliseconds patience)
{
    if (m_Worker) {
        if (!m_Worker->WaitFor(patience)) return;
        m_Worker.reset();
        if (m_Reading->Failure.isEmpty()) m_Signal.emplace(std::move(m_Reading->Values), m_Repeats);
    }
    if (!m_Signal) throw DescribedError(m_Reading->Failure);
}

std::optional<Variant> ReplayVariable::AtOnce(double seconds, VarType type)
{
    Await(0ms);
    return m_Signal ? m_Signal->AtOnce(seconds, type) : std::nullopt;
}
