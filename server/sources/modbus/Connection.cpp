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
            m_Core->Changed.wait_until(lock, m_Stop, NextTime(), [&] { return (step = Next()).has_value(); });
            if (!step) continue;
        }
        if (m_Core->Settings.Connections > 1) m_Core->Changed.notify_one(); // there may be more to do
        lock.unlock();
        Do(*step);
    }
}

/// Writings go first, but not two before a reading that waits.
std::optional<Line::Connection::Step> Line::Connection::Next()
{
    const auto now = Clock::now();
    if (now < m_RestsUntil) return std::nullopt;
    if (auto trial = NextTrial(now)) return trial;
    const UnitRef read = NextUnit(&Unit::HasRead);
    const UnitRef written = read && m_Core->WasWrite ? nullptr : NextUnit(&Unit::HasWrite);
    m_Core->WasWrite = written != nullptr;
    if (written) return Step{written, written->TakeWrite()};
    if (!read) return std::nullopt;
    Step step{read, {}, read->TakeRead()};
    step.Request = step.Job->Ask();
    read->Queue(step.Job);
    m_Core->Turn = static_cast<std::size_t>(std::ranges::find(m_Core->Units, read) - m_Core->Units.begin()) + 1;
    return step;
}

std::optional<Line::Connection::Step> Line::Connection::NextTrial(Clock::time_point now)
{
    for (const UnitRef& unit : m_Core->Units) {
        const auto at = unit->TryAt();
        if (!at || *at > now) continue;
        unit->Postpone(now + unit->Settings().Timeout * 2); // no other connection tries it meanwhile
        return Step{unit, {}, {}, {}, unit->TrySpan()};
    }
    return std::nullopt;
}

UnitRef Line::Connection::NextUnit(bool (Unit::*has)() const)
{
    const auto& units = m_Core->Units;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const UnitRef& unit = units[(m_Core->Turn + i) % units.size()];
        if ((*unit.*has)()) return unit;
    }
    return nullptr;
}

Line::Connection::Clock::time_point Line::Connection::NextTime() const
{
    auto next = Clock::now() + 1h;
    for (const UnitRef& unit : m_Core->Units) next = std::min(next, unit->TryAt().value_or(next));
    return m_RestsUntil > Clock::now() ? m_RestsUntil : next;
}

void Line::Connection::Do(Step& step)
{
    const auto began = Clock::now();
    try {
        if (step.Write) DoWrite(step);
        else if (step.Job) DoRead(step);
        else DoTrial(step);
    } catch (const ModbusError& error) {
        const std::lock_guard lock(m_Core->Guard);
        if (error.Why() == Kind::Refused && !IsSilent(error)) step.For->NoteAnswer();
        Fail(step, error, Clock::now() - began);
    } catch (...) { // such as a lack of memory
        const ModbusError error(Kind::Garbled, CurrentErrorDescription());
        const std::lock_guard lock(m_Core->Guard);
        Fail(step, error, Clock::now() - began);
    }
}

void Line::Connection::DoRead(Step& step)
{
    const Span& where = step.Request.Block.Where;
    const auto registers = ReadAnswer(where, Ask(step, ReadRequest(where)));
    const std::lock_guard lock(m_Core->Guard);
    step.For->NoteAnswer();
    step.For->Take(*step.Job, step.Request, registers);
    step.For->Report(step.Job, Clock::now());
}

void Line::Connection::DoWrite(Step& step)
{
    if (step.Write->Where.Bit >= 0) WriteBit(step);
    else WriteRegisters(step);
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

void Line::Connection::WriteRegisters(const Step& step)
{
    const Form& form = step.Write->Where;
    const std::span<const quint16> all = step.Write->Registers;
    const bool isBlock = form.Writing == WriteBy::Block || (form.Writing == WriteBy::Fitting && all.size() > 1);
    const auto most = isBlock ? static_cast<std::size_t>(MostWritten(form.Place)) : 1;
    for (std::size_t at = 0; at < all.size(); at += most) {
        const auto part = all.subspan(at, std::min(most, all.size() - at));
        const auto first = static_cast<quint16>(form.First + at);
        const Pdu request =
            isBlock ? WriteBlockRequest(form.Place, first, part) : WriteOneRequest(form.Place, first, part[0]);
        CheckWriteAnswer(request, Ask(step, request));
    }
}

/// The other bits stay as they are. Nothing of ours comes in between; what others write meanwhile may be lost.
void Line::Connection::WriteBit(const Step& step)
{
    const Form& form = step.Write->Where;
    const Span where{form.Place, form.First, 1};
    const quint16 before = ReadAnswer(where, Ask(step, ReadRequest(where))).front();
    const quint16 mask = form.BitMask();
    const auto after = static_cast<quint16>(step.Write->Registers.front() ? before | mask : before & ~mask);
    const Pdu request = WriteOneRequest(form.Place, form.First, after);
    CheckWriteAnswer(request, Ask(step, request));
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
            for (const UnitRef& each : m_Core->Units) each->ForgetRefusals();
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

bool Line::Connection::IsAlone(const UnitRef& unit) const
{
    return std::ranges::none_of(m_Core->Units,
                                [&](const UnitRef& other) { return other != unit && other->IsWanted(); });
}

void Line::Connection::Fail(Step& step, const ModbusError& error, Clock::duration cost)
{
    if (m_Stop.stop_requested()) return;
    const auto now = Clock::now();
    Unit& unit = *step.For;
    unit.NoteFailure(error);
    // A connection on which nobody answers any more may be dead without anybody having said so.
    const bool isSilent = IsSilent(error);
    if (isSilent && m_Transport->IsConnected() && m_Silences > 0 && (IsAlone(step.For) || m_Silences > 3)) {
        m_Transport->Close();
        m_Core->Connected -= std::exchange(m_IsCounted, false) ? 1 : 0;
    }
    if (step.Write) unit.NoteWritten(step.Write->Number, error.Description());
    if (step.Job && (error.Why() == Kind::Broken || isSilent)) step.Job->Fail(step.Request, error.Description());
    else if (step.Job) unit.NoteRefusal(*step.Job, step.Request, error, now);
    if (error.Why() == Kind::Broken) FailLine(error);
    else if (isSilent || unit.IsGarbling())
        unit.GoDown(error.Description(), now, IsAlone(step.For) ? Clock::duration() : ShareOfTime * cost,
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
    for (const UnitRef& unit : m_Core->Units) unit->GoDown(error.Description(), now, {}, m_Core->Settings.LongestPause);
}
