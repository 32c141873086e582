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
    Reading(QList<PlantControllerRef> controllers, std::optional<int> scanClass,
            kj::Own<kj::PromiseFulfiller<void>> done)
        : m_Controllers(std::move(controllers))
        , m_ScanClass(scanClass)
        , m_Done(kj::mv(done))
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
        const PendingRef asked = m_ScanClass ? nullptr : Pending::All(m_Asked);
        if (!asked) return m_Done->fulfill();
        auto done = std::make_shared<kj::Own<kj::PromiseFulfiller<void>>>(kj::mv(m_Done));
        asked->Then([done](const QString&) { (*done)->fulfill(); });
    }

    bool IsOver() { return m_Controllers.isEmpty() || !m_Done->isWaiting(); }

    QList<PlantControllerRef> m_Controllers; ///< the ones to be read still
    const std::optional<int> m_ScanClass;
    kj::Own<kj::PromiseFulfiller<void>> m_Done;
    std::optional<ItemPass> m_Pass;
    std::vector<PendingRef> m_Asked;
};

PlantScanner::PlantScanner(kj::Timer& timer)
    : m_Timer(timer)
    , m_Tasks(*this)
{
}

PlantScanner::~PlantScanner() = default;

void PlantScanner::Start(const Plant& plant)
{
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (int scanClass = 0; scanClass < 3; ++scanClass) {
            if (controller->ScanTime(scanClass) > 0) m_Tasks.add(ScanFrom(controller, scanClass, m_Timer.now()));
        }
    }
}

void PlantScanner::ScanSoon(const PlantControllerRef& controller)
{
    for (int scanClass = 0; scanClass < 3; ++scanClass) {
        if (controller->ScanTime(scanClass) > 0) m_Tasks.add(Read({controller}, scanClass));
    }
}

kj::Promise<void> PlantScanner::Snapshot(QList<PlantControllerRef> controllers)
{
    return Read(std::move(controllers), std::nullopt);
}

kj::Promise<void> PlantScanner::ScanFrom(const PlantControllerRef& controller, int scanClass, kj::TimePoint due)
{
    auto scanned = m_Timer.atTime(due).then([=, this] { return Read({controller}, scanClass); });
    return scanned.then([=, this] {
        // Missed scans are not made up for: the plant shows the present.
        const auto period = controller->ScanTime(scanClass) * kj::MILLISECONDS;
        return ScanFrom(controller, scanClass, kj::max(due + period, m_Timer.now()));
    });
}

kj::Promise<void> PlantScanner::Read(QList<PlantControllerRef> controllers, std::optional<int> scanClass)
{
    auto done = kj::newPromiseAndFulfiller<void>();
    m_UnderWay.emplace_back(std::move(controllers), scanClass, kj::mv(done.fulfiller));
    if (!std::exchange(m_TakesTurns, true)) m_Tasks.add(TakeTurns());
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
