#include "server/sources/modbus/Unit.h"

#include "server/log/Log.h"

using namespace std::chrono_literals;

namespace {

/// What a unit refuses is asked for again then at the latest; a failure within the device passes sooner.
constexpr auto RefusedFor = 1h;
constexpr auto FailedFor = 1min;
constexpr auto SilentFor = 5min;

constexpr quint8 IllegalFunction = 1;
constexpr quint8 LastThatBlamesTheRequest = 4;
constexpr quint8 DeviceFailure = 4;

constexpr int MostGarbled = 3;
constexpr int SilencesByChance = 3;
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
    for (const auto& [variable, refusal] : job->Plan().Unread) job->FailVariable(variable, m_Refusals.Why(refusal));
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
    m_Refusals.ForgetOver(now);
    if (group.Plan && group.PlannedFor == m_Refusals.Version()) return;
    group.Plan = std::make_shared<ReadPlan>(PlanReading(group.Forms, m_Settings.Limits, m_Refusals.Spans()));
    group.PlannedFor = m_Refusals.Version();
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

std::optional<Unit::Clock::time_point> Unit::WakesAt() const
{
    if (m_Reads.empty()) return TryAt();
    return std::min(m_RestsUntil, TryAt().value_or(m_RestsUntil));
}

UnitCounts Unit::Counts() const
{
    UnitCounts counts = m_Counts;
    counts.Refused = std::ssize(m_Refusals.Spans());
    return counts;
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
    m_TrySpan = request.Block->Where;
    if (m_SilentAbout == m_TrySpan) m_SilentAbout.reset();
    const auto learnt = job.Take(request, registers);
    if (learnt) Learn(*learnt, QStringLiteral("the device refuses a request across it"), RefusedFor);
}

void Unit::NoteRefusal(ReadJob& job, const ReadJob::Request& request, const ModbusError& error)
{
    const quint8 code = error.Exception();
    if (code < IllegalFunction || code > LastThatBlamesTheRequest) return job.Fail(request, error.Description());
    const auto longest = code == DeviceFailure ? Clock::duration(FailedFor) : Clock::duration(RefusedFor);
    if (code == IllegalFunction) { // of all that is asked for in this way
        for (const Piece& piece : request.Block->Pieces) Learn(piece.Where, error.Description(), longest);
        return job.Fail(request, error.Description());
    }
    if (const auto learnt = job.Refuse(request, error.Description())) Learn(*learnt, error.Description(), longest);
}

/// A few times may be chance, or a device that is slow; then the halves of what it is silent about are asked for.
void Unit::NoteSilence(ReadJob& job, const ReadJob::Request& request, const QString& why, Clock::time_point restsUntil)
{
    m_RestsUntil = restsUntil;
    if (!request.From) {
        m_SilencesAbout = m_SilentAbout == request.Block->Where ? m_SilencesAbout + 1 : 1;
        m_SilentAbout = request.Block->Where;
        if (m_SilencesAbout < SilencesByChance) return job.Fail(request, why);
    }
    if (const auto learnt = job.Refuse(request, why)) Learn(*learnt, why, SilentFor);
}

void Unit::Learn(const Span& span, const QString& why, Clock::duration longest)
{
    if (!m_Refusals.HaveBeenLearnt())
        Log(LogLevel::Warning, QStringLiteral("Device \"%1\" refuses registers, first %2 of them from %3 on: %4.")
                                   .arg(m_Settings.Name)
                                   .arg(span.Count)
                                   .arg(span.First + m_Settings.FirstAddress)
                                   .arg(why));
    m_Refusals.Learn(span, why, Clock::now(), longest);
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
