#include "tests/server/Outcome.h"
#include "tests/velsqllib/BrokenServer.h"
#include "velsqllib/EventQueue.h"
#include "velsqllib/RemoteLibrary.h"

#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class Broken : public ::testing::Test, public ControllerEvents
{
protected:
    void OnChangeState(qint32) override { ++m_Changes; }
    void OnChangeItem(const ItemRef&) override {}

    BrokenServer m_Server;
    RemoteLibrary m_Library{
        m_Server.SocketPath(), QString(), {.Interval = 30ms, .BeforePing = 100ms, .ForPingAnswer = 60s}};
    EngineRef m_Engine = m_Library.AttachEngine();
    ControllerRef m_Controller = m_Engine->get_Controller(Variant(u"C"_s));
    int m_Changes = 0;
};

TEST_F(Broken, AnAnswerThatTheServerKnowsNothingOfIsNotWaitedFor)
{
    m_Server.m_CallsUnderWay = 0;
    int longCalls = 0;
    m_Library.OnLongCall([&] { ++longCalls; });
    for (const int calls : {1, 2}) {
        EXPECT_EQ(OutcomeOf([&] { m_Engine->Start(); }),
                  u"The server has lost the answer; the call was given up and may have taken effect.");
        EXPECT_EQ(longCalls, calls) << "once in every long call";
    }
    EXPECT_EQ(OutcomeOf([&] { m_Engine->Stop(); }), u"done");
}

TEST_F(Broken, EventsThatComeFasterThanTheyAreHandledAreRefused)
{
    const EventSubscriptionRef subscription = m_Controller->Subscribe(*this);
    m_Controller->Start();
    const int refused = BrokenServer::Changes - EventQueue::MostWaiting;
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server.m_Refused >= refused; }, 20'000)) << m_Server.m_Refused;
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Changes >= EventQueue::MostWaiting; }, 20'000));
    EXPECT_EQ(m_Changes + m_Server.m_Refused, BrokenServer::Changes);
}

TEST_F(Broken, AnObjectThatANewServerLacksAtFirstIsLookedForAgain)
{
    m_Server.m_Lost = true;
    m_Library.AttachEngine(); // from now on its references are stale
    const auto stop = [this] { return OutcomeOf([this] { m_Controller->Stop(); }); };
    for (int i = 0; i < 2; ++i) EXPECT_EQ(stop(), u"lost");
    m_Server.m_Lost = false;
    EXPECT_EQ(stop(), u"done");
    m_Server.m_Lost = true;
    EXPECT_EQ(stop(), u"done") << "what was found is kept";
}

TEST_F(Broken, EventsAreHandledOneAfterTheOtherInSlicesThatLeaveOthersTheirTurn)
{
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
    const auto takeTime = [&] {
        ++turns.last();
        QThread::msleep(4);
    };
    for (int i = 0; i < 15; ++i) add(i < 3 ? std::function<void()>(runEvents) : takeTime);
    QTimer turn;
    turn.callOnTimeout([&] { turns << 0; });
    turn.start(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return handled == 18; }, 20'000));
    EXPECT_EQ(deepest, 1);
    EXPECT_LE(*std::max_element(turns.begin(), turns.end()), 3) << "a fourth of 4 ms does not begin within 10 ms";
}

} // namespace
