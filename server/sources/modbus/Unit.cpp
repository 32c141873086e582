#include "server/sources/modbus/Unit.h"

#include "server/log/Log.h"

using namespace std::chrono_literals;

namespace {

/// What a unit refuses is asked for again then; a failure within the device passes sooner.
constexpr auto RefusedFor = 1h;
constexpr auto FailedFor = 1min;

constexpr quint8 IllegalFunction = 1;
constexpr quint8 LastThatBlamesTheRequest = 4;
constexpr quint8 DeviceFailure = 4;

constexpr int MostGarbled = 3;
constexpr auto FirstPause = 100ms;

/// Results come to the loop in large portions.
constexpr auto ReportEvery = 20ms;

} // namespace

Unit::Unit(UnitSettings settings, std::shared_ptr<UnitListener> listener)
    : m_Settings(std::move(settings))
    , m_Listener(std::move(listener))
{
}

void Unit::Add(quint64 number, const ReadGroupRef& group, Clock::time_point now)
{
    Plan(*group, now);
    const auto job = std::make_shared<ReadJob>(number, group);
    for (const auto& [variable, refusal] : job->Plan().Unread) job->FailVariable(variable, m_Refusals[refusal].Why);
    if (!m_TrySpan && !job->Plan().Blocks.empty()) m_TrySpan = job->Plan().Blocks.front().Where;
    if (!TakesJobs(now)) job->FailRest(m_Trouble);
    if (job->IsOver()) return m_Listener->NoteRead(job->Collect());
    m_Reads.push_back(job);
}

void Unit::Add(WriteJob job, Clock::time_point now)
{
    if (TakesJobs(now)) m_Writes.push_back(std::move(job));
    else m_Listener->NoteWritten(job.Number, m_Trouble);
}

/// A unit that is not tried anyway may be tried by what it is asked.
bool Unit::TakesJobs(Clock::time_point now)
{
    if (!m_IsReachable && !m_IsWanted && now >= m_TryAt) m_IsTried = true;
    return m_IsReachable || m_IsTried;
}

void Unit::Plan(ReadGroup& group, Clock::time_point now)
{
    const auto isOver = [&](const Refusal& refusal) { return refusal.Until <= now; };
    if (std::ranges::any_of(m_Refusals, isOver)) ForgetRefusals();
    if (group.Plan && group.PlannedFor == m_RefusedVersion) return;
    group.Plan = std::make_shared<ReadPlan>(PlanReading(group.Forms, m_Settings.Limits, m_Refused));
    group.PlannedFor = m_RefusedVersion;
}

WriteJob Unit::TakeWrite()
{
    WriteJob job = std::move(m_Writes.front());
    m_Writes.pop_front();
    return job;
}

/// Each has its turn with one request, so that a short job need not wait for a long one.
std::shared_ptr<ReadJob> Unit::TakeRead()
{
    const auto job = m_Reads.front();
    m_Reads.pop_front();
    return job;
}

void Unit::Queue(const std::shared_ptr<ReadJob>& job)
{
    if (!job->IsAllAsked() && std::ranges::find(m_Reads, job) == m_Reads.end()) m_Reads.push_back(job);
}

std::optional<Unit::Clock::time_point> Unit::TryAt() const
{
    return m_IsReachable || !m_IsWanted ? std::nullopt : std::optional(m_TryAt);
}

void Unit::NoteAnswer()
{
    m_Garbled = 0;
    m_Pause = {};
    m_IsTried = false;
    if (std::exchange(m_IsReachable, true)) return;
    Log(LogLevel::Info, QStringLiteral("Device \"%1\" answers again.").arg(m_Settings.Name));
    ForgetRefusals();
    m_Listener->NoteReachable(true, QString());
}

void Unit::NoteFailure(const ModbusError& error)
{
    ++(error.Why() == ModbusError::Kind::Silent ? m_Counts.Silences : m_Counts.Others);
    if (error.Why() == ModbusError::Kind::Garbled) ++m_Garbled;
}

bool Unit::IsGarbling() const
{
    return m_Garbled >= MostGarbled;
}

void Unit::Take(ReadJob& job, const ReadJob::Request& request, std::span<const quint16> registers)
{
    m_TrySpan = request.Block.Where;
    const auto learnt = job.Take(request, registers);
    if (learnt) Learn(*learnt, QStringLiteral("the device refuses a request across it"), Clock::now() + RefusedFor);
}

void Unit::NoteRefusal(ReadJob& job, const ReadJob::Request& request, const ModbusError& error, Clock::time_point now)
{
    const quint8 code = error.Exception();
    if (code < IllegalFunction || code > LastThatBlamesTheRequest) return job.Fail(request, error.Description());
    const auto until = now + (code == DeviceFailure ? Clock::duration(FailedFor) : Clock::duration(RefusedFor));
    if (code == IllegalFunction) { // of all that is asked for in this way
        for (const Piece& piece : request.Block.Pieces) Learn(piece.Where, error.Description(), until);
        return job.Fail(request, error.Description());
    }
    if (const auto learnt = job.Refuse(request, error.Description())) Learn(*learnt, error.Description(), until);
}

void Unit::Learn(const Span& span, const QString& why, Clock::time_point until)
{
    if (std::ranges::find(m_Refused, span) != m_Refused.end()) return;
    if (m_Refused.empty())
        Log(LogLevel::Warning, QStringLiteral("Device \"%1\" refuses registers, first %2 of them from %3 on: %4.")
                                   .arg(m_Settings.Name)
                                   .arg(span.Count)
                                   .arg(span.First + m_Settings.FirstAddress)
                                   .arg(why));
    m_Refused.push_back(span);
    m_Refusals.push_back({why, until});
    m_Counts.Refused = static_cast<qint64>(m_Refused.size());
    ++m_RefusedVersion;
}

void Unit::ForgetRefusals()
{
    if (m_Refused.empty()) return;
    m_Refused.clear();
    m_Refusals.clear();
    m_Counts.Refused = 0;
    ++m_RefusedVersion;
}

void Unit::GoDown(const QString& why, Clock::time_point now, Clock::duration least, Clock::duration longest)
{
    m_Trouble = why;
    m_IsTried = false;
    m_Pause = std::clamp<Clock::duration>(2 * m_Pause, FirstPause, longest);
    m_TryAt = now + std::max(m_Pause, least);
    for (const auto& job : std::exchange(m_Reads, {})) {
        job->FailRest(why);
        m_Listener->NoteRead(job->Collect());
    }
    for (const WriteJob& job : std::exchange(m_Writes, {})) m_Listener->NoteWritten(job.Number, why);
    if (!std::exchange(m_IsReachable, false)) return;
    Log(LogLevel::Warning, QStringLiteral("Device \"%1\" cannot be reached: %2.").arg(m_Settings.Name, why));
    m_Listener->NoteReachable(false, why);
}

void Unit::Report(const std::shared_ptr<ReadJob>& job, Clock::time_point now)
{
    if (m_IsReachable || m_IsTried) Queue(job); // with the halves of what was refused
    if (job->IsClosed() || (!job->IsOver() && now - m_Reported < ReportEvery)) return;
    m_Reported = now;
    m_Listener->NoteRead(job->Collect());
}
