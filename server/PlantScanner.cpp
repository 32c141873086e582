#include "server/PlantScanner.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"
#include "server/plant/ItemPass.h"
#include "velsqllib/WireText.h"

namespace {

/// How long a turn may take, and how long others may then keep the next one waiting when they have work without end.
constexpr int TurnMs = 2;

} // namespace

/// Items of one controller after the other.
class PlantScanner::Reading
{
public:
    /// A scan; `done` runs when all of the class has been read.
    Reading(const Class& scanned, std::function<void()> done)
        : m_Controllers({scanned.Controller})
        , m_ScanClass(scanned.Number)
        , m_Done(std::move(done))
    {
    }
    /// A snapshot.
    Reading(QList<PlantControllerRef> controllers, kj::Own<kj::PromiseFulfiller<void>> answer)
        : m_Controllers(std::move(controllers))
        , m_Answer(kj::mv(answer))
    {
    }

    /// Returns whether it is over: all is read, or the client that asked has gone.
    bool Continue(ItemPass::Clock::time_point until)
    {
        while (!IsOver()) {
            if (!m_Pass) m_Pass.emplace(*m_Controllers.first(), m_ScanClass);
            if (m_Pass->Continue(until)) {
                m_Asked.push_back(m_Pass->Asked());
                m_Pass.reset();
                m_Controllers.removeFirst();
            }
            if (ItemPass::Clock::now() >= until) break;
        }
        const bool isOver = IsOver();
        if (isOver) End();
        return isOver;
    }

private:
    /// A snapshot ends when everything has been answered; a scan does not wait, and what is still being read then is
    /// left out by the next one.
    void End()
    {
        if (m_Done) return m_Done();
        const PendingRef asked = Pending::All(m_Asked);
        if (!asked) return m_Answer->fulfill();
        auto answer = std::make_shared<kj::Own<kj::PromiseFulfiller<void>>>(kj::mv(m_Answer));
        asked->Then([answer](const QString&) { (*answer)->fulfill(); });
    }

    bool IsOver() { return m_Controllers.isEmpty() || (m_Answer && !m_Answer->isWaiting()); }

    QList<PlantControllerRef> m_Controllers; ///< the ones to be read still
    std::optional<int> m_ScanClass;
    std::function<void()> m_Done;
    kj::Own<kj::PromiseFulfiller<void>> m_Answer;
    std::optional<ItemPass> m_Pass;
    std::vector<PendingRef> m_Asked;
};

PlantScanner::PlantScanner(kj::Timer& timer)
    : m_Timer(timer)
    , m_Tasks(*this)
{
}

PlantScanner::~PlantScanner() = default;

template <typename... Arguments>
void PlantScanner::Begin(Arguments&&... arguments)
{
    m_UnderWay.emplace_back(std::forward<Arguments>(arguments)...);
    if (!std::exchange(m_TakesTurns, true)) m_Tasks.add(TakeTurns());
}

void PlantScanner::Start(const Plant& plant)
{
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (int scanClass = 0; scanClass < 3; ++scanClass) {
            if (controller->ScanTime(scanClass) > 0) ScanAt(m_Timer.now(), {controller, scanClass});
        }
    }
}

void PlantScanner::ScanAt(kj::TimePoint due, Class scanned)
{
    const auto place = m_Waiting.emplace(due, std::move(scanned));
    if (place == m_Waiting.begin())
        m_Next = AwaitNext().eagerlyEvaluate([this](auto&& failure) { taskFailed(kj::mv(failure)); });
}

kj::Promise<void> PlantScanner::AwaitNext()
{
    if (m_Waiting.empty()) return kj::NEVER_DONE; // the next one that comes begins anew
    return m_Timer.atTime(m_Waiting.begin()->first).then([this] {
        ScanDue();
        return AwaitNext();
    });
}

void PlantScanner::ScanDue()
{
    while (!m_Waiting.empty() && m_Waiting.begin()->first <= m_Timer.now()) {
        const auto first = m_Waiting.extract(m_Waiting.begin());
        Scan(first.key(), first.mapped());
    }
}

void PlantScanner::Scan(kj::TimePoint due, const Class& scanned)
{
    Begin(scanned, [=, this] {
        // Missed scans are not made up for: the plant shows the present.
        const auto period = scanned.Controller->ScanTime(scanned.Number) * kj::MILLISECONDS;
        ScanAt(kj::max(due + period, m_Timer.now()), scanned);
    });
}

void PlantScanner::ScanSoon(const PlantControllerRef& controller)
{
    for (int scanClass = 0; scanClass < 3; ++scanClass) {
        if (controller->ScanTime(scanClass) > 0) Begin(Class{controller, scanClass}, [] {});
    }
}

kj::Promise<void> PlantScanner::Snapshot(QList<PlantControllerRef> controllers)
{
    auto done = kj::newPromiseAndFulfiller<void>();
    Begin(std::move(controllers), kj::mv(done.fulfiller));
    return kj::mv(done.promise);
}

kj::Promise<void> PlantScanner::TakeTurns()
{
    return Others().then([this]() -> kj::Promise<void> {
        TakeTurn();
        m_TakesTurns = !m_UnderWay.empty();
        if (!m_TakesTurns) return kj::READY_NOW;
        return TakeTurns();
    });
}

/// Others have their turn: the loop looks for what has come, and does it as long as it does not take too long.
kj::Promise<void> PlantScanner::Others()
{
    const auto now = kj::systemPreciseMonotonicClock().now(); // the timer's time is that of the loop's last look
    auto allDone = m_Timer.atTime(now).then([] { return kj::evalLast([] {}); });
    return allDone.exclusiveJoin(m_Timer.atTime(now + TurnMs * kj::MILLISECONDS));
}

void PlantScanner::TakeTurn()
{
    const auto until = ItemPass::Clock::now() + std::chrono::milliseconds(TurnMs);
    do {
        const auto reading = m_UnderWay.begin();
        if (Continue(*reading, until)) m_UnderWay.erase(reading);
        else m_UnderWay.splice(m_UnderWay.end(), m_UnderWay, reading);
    } while (!m_UnderWay.empty() && ItemPass::Clock::now() < until);
}

/// Whatever happens in one reading, it goes on behind that item, and so do the others.
bool PlantScanner::Continue(Reading& reading, std::chrono::steady_clock::time_point until)
{
    try {
        return reading.Continue(until);
    } catch (...) {
        const QString reason = CurrentErrorDescription();
        if (std::exchange(m_Warned, reason) != reason)
            Log(LogLevel::Error, QStringLiteral("Scanning failed: %1").arg(reason));
        return false;
    }
}

void PlantScanner::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Error, QStringLiteral("Scanning has ended: %1").arg(DescriptionOf(exception)));
}
