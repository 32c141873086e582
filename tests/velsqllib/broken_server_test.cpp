#include "core/automation/Errors.h"
#include "tests/velsqllib/BrokenServer.h"
#include "velsqllib/EventQueue.h"
#include "velsqllib/RemoteLibrary.h"

#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class Broken : public ::testing::Test, public ControllerEvents
{
protected:
    static constexpr Attachment::Patience Short{.Interval = 30ms, .BeforePing = 100ms, .ForPingAnswer = 60s};

    void OnChangeState(qint32) override { ++m_Changes; }
    void OnChangeItem(const ItemRef&) override {}

    int m_Changes = 0;
};

TEST_F(Broken, AnAnswerThatTheServerKnowsNothingOfIsNotWaitedFor)
{
    const BrokenServer server(0);
    RemoteLibrary library(server.SocketPath(), QString(), Short);
    int longCalls = 0;
    library.OnLongCall([&] { ++longCalls; });
    const EngineRef engine = library.AttachEngine();
    try {
        engine->Start();
        FAIL();
    } catch (const ServerError& error) {
        EXPECT_EQ(error.Description(),
                  u"The server has lost the answer; the call was given up and may have taken effect.");
    }
    EXPECT_EQ(longCalls, 1);
    engine->Stop();
    EXPECT_EQ(longCalls, 1) << "the next call is answered at once";
}

TEST_F(Broken, EventsThatComeFasterThanTheyAreHandledAreRefused)
{
    const BrokenServer server(-1);
    RemoteLibrary library(server.SocketPath(), QString(), Short);
    const ControllerRef controller = library.AttachEngine()->get_Controller(Variant(u"C"_s));
    const EventSubscriptionRef subscription = controller->Subscribe(*this);
    controller->Start();
    const int refused = BrokenServer::Changes - EventQueue::MostWaiting;
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.Refused() >= refused; }, 20'000)) << server.Refused();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Changes >= EventQueue::MostWaiting; }, 20'000));
    EXPECT_EQ(m_Changes + server.Refused(), BrokenServer::Changes);
}

TEST_F(Broken, AnObjectThatANewServerLacksAtFirstIsLookedForAgain)
{
    BrokenServer server(-1);
    RemoteLibrary library(server.SocketPath(), QString(), Short);
    const ControllerRef controller = library.AttachEngine()->get_Controller(Variant(u"C"_s));
    server.LoseController(true);
    library.AttachEngine(); // from now on its references are stale
    for (int i = 0; i < 2; ++i) EXPECT_THROW(controller->Stop(), ServerError);
    server.LoseController(false);
    EXPECT_NO_THROW(controller->Stop());
    server.LoseController(true);
    EXPECT_NO_THROW(controller->Stop()) << "what was found is kept";
}

TEST_F(Broken, EventsAreHandledOneAfterTheOtherInSlicesThatLeaveOthersTheirTurn)
{
    const auto loop = KjLoop::OfThisThread();
    EventQueue queue;
    int depth = 0, deepest = 0, handled = 0;
    QList<int> turns = {0};
    const auto add = [&](const std::function<void()>& handle) {
        queue.Add(std::make_shared<EventSink>(EventSink{this}), [&, handle](ControllerEvents&) {
            deepest = std::max(deepest, ++depth);
            handle();
            --depth;
            ++handled;
        });
    };
    const auto runEvents = [&] {
        add([] {}); // one more arrives
        QTest::qWait(20);
    };
    for (int i = 0; i < 3; ++i) add(runEvents);
    const auto takeTime = [&] {
        ++turns.last();
        QThread::msleep(4);
    };
    for (int i = 0; i < 12; ++i) add(takeTime);
    QTimer turn;
    turn.callOnTimeout([&] { turns << 0; });
    turn.start(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return handled == 18; }, 20'000));
    EXPECT_EQ(deepest, 1);
    EXPECT_LE(*std::max_element(turns.begin(), turns.end()), 3) << "a fourth of 4 ms does not begin within 10 ms";
}

} // namespace
