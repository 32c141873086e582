// Events on their way to one subscriber, against calls of the same connection: an event costs as much as two of them at most, as it
// is a call itself and brings an object that is given back. None may be lost.
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

namespace {

constexpr int Fired = 20'000; // of each kind
constexpr int Rounds = 5;
constexpr int State = 3;

/// Counts what arrives, and notices what is not in its place: first the states, then the items.
class CountingSubscriber : public ControllerEvents
{
public:
    explicit CountingSubscriber(VelSQLController& controller)
        : m_Subscription(controller.Subscribe(*this))
    {
    }
    void OnChangeState(qint32 state) override { Count(state == State && m_Seen < Fired); }
    void OnChangeItem(const ItemRef&) override { Count(m_Seen >= Fired); }
    int Seen() const { return m_Seen; }
    int Wrong() const { return m_Wrong; }

private:
    void Count(bool isRight)
    {
        ++m_Seen;
        if (!isRight) ++m_Wrong;
    }

    int m_Seen = 0;
    int m_Wrong = 0;
    EventSubscriptionRef m_Subscription;
};

void RunEventsUntil(const std::function<bool()>& isDone, int longestMs)
{
    QElapsedTimer time;
    time.start();
    while (!isDone() && time.elapsed() < longestMs) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
}

/// Microseconds for each event of a burst; nothing when one was lost, came twice or in the wrong order.
std::optional<double> MeasureBurst(VelSQLController& controller)
{
    const CountingSubscriber subscriber(controller);
    QElapsedTimer time;
    time.start();
    controller.Execute(QStringLiteral("fire state %1 %2").arg(State).arg(Fired), Variant());
    controller.Execute(QStringLiteral("fire item D100 %1").arg(Fired), Variant());
    RunEventsUntil([&] { return subscriber.Seen() >= 2 * Fired; }, 60'000);
    const double microseconds = static_cast<double>(time.nsecsElapsed()) / 1e3;
    RunEventsUntil([] { return false; }, 50); // one too many would come now
    if (subscriber.Seen() == 2 * Fired && subscriber.Wrong() == 0) return microseconds / (2 * Fired);
    std::printf("  FAILED: %d of %d events arrived, %d of them wrong\n", subscriber.Seen(), 2 * Fired,
                subscriber.Wrong());
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    RealServer server;
    server.Start();
    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.CreateEngine();
    const ControllerRef controller = engine->get_Controller(Variant(QStringLiteral("PLC1")));
    const ItemRef item = controller->get_Item(Variant(QStringLiteral("D100")));
    controller->Stop();

    double call = 1e9, event = 1e9;
    for (int round = 0; round < Rounds; ++round) {
        call = std::min(call, Figures::MeasureInTurn(1, 4000, {[&] { item->get_Value(); }})[0].MedianUs);
        const auto burst = MeasureBurst(*controller);
        if (!burst) return 1;
        event = std::min(event, *burst);
    }
    std::printf("%d events to one subscriber, best of %d rounds\n", 2 * Fired, Rounds);
    std::printf("  %-52s %9.2f us\n", "get_Value, median", call);
    std::printf("  %-52s %9.2f us\n", "an event", event);
    return Figures::PrintRatio(QStringLiteral("time: event / call"), event / call, 2.0) ? 0 : 1;
}
