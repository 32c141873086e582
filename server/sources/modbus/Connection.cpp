#include "server/sources/modbus/Connection.h"

#include "server/log/Log.h"

#include <thread>

using Kind = ModbusError::Kind;
using namespace std::chrono_literals;

namespace {

/// A unit that does not answer costs the others of its line at most a twentieth of the time.
constexpr int ShareOfTime = 19;
constexpr auto BusyPause = 50ms;
constexpr auto RestOfFurtherConnection = 5s;

/// The unit asks for the same request again a little later.
bool IsBusy(const Pdu& answer)
{
    constexpr quint8 Exception = 0x80, Acknowledged = 5, Busy = 6;
    return answer.size() == 2 && (answer[0] & Exception) && (answer[1] == Acknowledged || answer[1] == Busy);
}

/// A gateway that speaks for a unit which does not answer it.
bool IsSilent(const ModbusError& error)
{
    constexpr quint8 NoPath = 10, NoAnswer = 11;
    return error.Why() == Kind::Silent || error.Exception() == NoPath || error.Exception() == NoAnswer;
}

} // namespace

Line::Connection::Connection(std::shared_ptr<Core> core, const std::stop_token& stop)
    : m_Core(std::move(core))
    , m_Stop(stop)
    , m_Transport(MakeTransport(m_Core->Settings, stop))
{
}

Line::Connection::~Connection() = default;

void Line::Connection::Run()
{
    while (!m_Stop.stop_requested()) {
        std::unique_lock lock(m_Core->Guard);
        std::optional<Step> step = Next();
        if (!step) {
            // What it is told of may be something to do later, but sooner than what it knew of.
            const auto until = NextTime();
            m_Core->Changed.wait_until(lock, m_Stop, until,
                                       [&] { return (step = Next()).has_value() || NextTime() < until; });
            if (!step) continue;
        }
        if (m_Core->Settings.Connections > 1) m_Core->Changed.notify_all(); // there may be more to do
        lock.unlock();
        Do(*step);
    }
}

std::optional<Line::Connection::Step> Line::Connection::Next()
{
    const auto now = Clock::now();
    return now < m_RestsUntil ? std::nullopt : m_Core->Turns.Next(now);
}

Line::Connection::Clock::time_point Line::Connection::NextTime() const
{
    return m_RestsUntil > Clock::now() ? m_RestsUntil : m_Core->Turns.NextTime();
}

void Line::Connection::Do(Step& step)
{
    const UnitSettings& unit = step.For->Settings();
    // Time in which this machine stood still is not the unit's.
    const Clock::duration most = (unit.Retries + 2) * (unit.Timeout + unit.Pause + BusyPause);
    const auto cost = [most, began = Clock::now()] { return std::min(Clock::now() - began, most); };
    try {
        if (step.Write) DoWrite(step);
        else if (step.Job) DoRead(step);
        else DoTrial(step);
    } catch (const ModbusError& error) {
        const bool isElsewhere = step.Job && IsSilent(error) && AnswersOthers(step);
        const std::lock_guard lock(m_Core->Guard);
        if (isElsewhere) return NoteSilence(step, error, cost());
        if (error.Why() == Kind::Refused && !IsSilent(error)) step.For->NoteAnswer();
        Fail(step, error, cost());
    } catch (...) { // such as a lack of memory
        const ModbusError error(Kind::Garbled, CurrentErrorDescription());
        const std::lock_guard lock(m_Core->Guard);
        Fail(step, error, cost());
    }
}

void Line::Connection::DoRead(Step& step)
{
    const Span& where = step.Request.Block->Where;
    const auto registers = ReadAnswer(where, Ask(step, ReadRequest(where)));
    const std::lock_guard lock(m_Core->Guard);
    step.For->NoteAnswer();
    step.For->Take(*step.Job, step.Request, registers);
    step.For->Report(step.Job, Clock::now());
}

void Line::Connection::DoWrite(Step& step)
{
    step.Write->Do([&](const Pdu& request) { return Ask(step, request); });
    const std::lock_guard lock(m_Core->Guard);
    step.For->NoteAnswer();
    step.For->NoteWritten(step.Write->Number, QString());
}

/// A refusal will do, as Do sees it.
void Line::Connection::DoTrial(Step& step)
{
    if (step.Trial) ReadAnswer(*step.Trial, Ask(step, ReadRequest(*step.Trial), false));
    else if (!m_Transport->IsConnected()) Connect();
    const std::lock_guard lock(m_Core->Guard);
    step.For->NoteAnswer();
}

/// Whether the unit that was silent answers what it has answered before.
bool Line::Connection::AnswersOthers(const Step& step)
{
    std::optional<Span> other;
    {
        const std::lock_guard lock(m_Core->Guard);
        if (step.For->IsReachable()) other = step.For->TrySpan();
    }
    if (!other || *other == step.Request.Block->Where || m_Stop.stop_requested()) return false;
    try {
        ReadAnswer(*other, Ask(step, ReadRequest(*other), false));
        return true;
    } catch (const ModbusError&) {
        return false;
    }
}

void Line::Connection::NoteSilence(const Step& step, const ModbusError& error, Clock::duration cost)
{
    const auto now = Clock::now();
    step.For->NoteFailure(error);
    step.For->NoteAnswer();
    const auto rest = m_Core->Turns.IsAlone(step.For) ? Clock::duration() : ShareOfTime * cost;
    step.For->NoteSilence(*step.Job, step.Request, error.Description(), now + rest);
    step.For->Report(step.Job, now);
}

Pdu Line::Connection::Ask(const Step& step, const Pdu& request, bool repeats)
{
    for (int left = repeats ? step.For->Settings().Retries : 0;; --left) {
        const bool wasConnected = m_Transport->IsConnected();
        try {
            const Pdu answer = AskOnce(step, request);
            if (left <= 0 || !IsBusy(answer)) return answer;
            std::this_thread::sleep_for(BusyPause);
        } catch (const ModbusError& error) {
            const bool cannotConnect = error.Why() == Kind::Broken && !wasConnected;
            if (left <= 0 || cannotConnect || m_Stop.stop_requested()) throw;
        }
    }
}

Pdu Line::Connection::AskOnce(const Step& step, const Pdu& request)
{
    if (!m_Transport->IsConnected()) Connect();
    const UnitSettings& unit = step.For->Settings();
    if (unit.Pause > 0ms) std::this_thread::sleep_for(unit.Pause);
    {
        const std::lock_guard lock(m_Core->Guard);
        step.For->NoteRequest();
        if (std::exchange(m_IsFresh, false)) {
            for (const UnitRef& each : m_Core->Turns.Units()) each->ForgetRefusals();
        }
    }
    try {
        const Pdu answer = m_Transport->Exchange(unit.Number, request, unit.Timeout);
        m_Silences = 0;
        return answer;
    } catch (const ModbusError& error) {
        if (error.Why() == Kind::Silent) ++m_Silences;
        if (!m_Transport->IsConnected()) Disconnect();
        throw;
    }
}

void Line::Connection::Connect()
{
    m_Transport->Connect();
    m_Silences = 0;
    m_IsFresh = true;
    if (m_Core->Settings.ConnectPause > 0ms) std::this_thread::sleep_for(m_Core->Settings.ConnectPause);
    const std::lock_guard lock(m_Core->Guard);
    m_Core->Connected += std::exchange(m_IsCounted, true) ? 0 : 1;
}

void Line::Connection::Disconnect()
{
    m_Transport->Close();
    const std::lock_guard lock(m_Core->Guard);
    m_Core->Connected -= std::exchange(m_IsCounted, false) ? 1 : 0;
}

void Line::Connection::Fail(Step& step, const ModbusError& error, Clock::duration cost)
{
    if (m_Stop.stop_requested()) return;
    const auto now = Clock::now();
    Unit& unit = *step.For;
    unit.NoteFailure(error);
    // A connection on which nobody answers any more may be dead without anybody having said so.
    const bool isSilent = IsSilent(error);
    if (isSilent && m_Transport->IsConnected() && m_Silences > 0 &&
        (m_Core->Turns.IsAlone(step.For) || m_Silences > 3)) {
        m_Transport->Close();
        m_Core->Connected -= std::exchange(m_IsCounted, false) ? 1 : 0;
    }
    if (step.Write) unit.NoteWritten(step.Write->Number, error.Description());
    if (step.Job && (error.Why() == Kind::Broken || isSilent)) step.Job->Fail(step.Request, error.Description());
    else if (step.Job) unit.NoteRefusal(*step.Job, step.Request, error);
    if (error.Why() == Kind::Broken) FailLine(error);
    else if (isSilent || unit.IsGarbling())
        unit.GoDown(error.Description(), now, m_Core->Turns.IsAlone(step.For) ? Clock::duration() : ShareOfTime * cost,
                    m_Core->Settings.LongestPause);
    if (step.Job) unit.Report(step.Job, now);
}

/// Nobody can be reached; but when other connections stand, the device only takes no further one.
void Line::Connection::FailLine(const ModbusError& error)
{
    const auto now = Clock::now();
    if (m_Core->Connected > 0) {
        m_RestsUntil = now + RestOfFurtherConnection;
        return;
    }
    for (const UnitRef& unit : m_Core->Turns.Units())
        unit->GoDown(error.Description(), now, {}, m_Core->Settings.LongestPause);
}
