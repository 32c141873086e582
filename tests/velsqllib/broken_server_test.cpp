#include "core/automation/Errors.h"
#include "tests/velsqllib/BrokenServer.h"
#include "velsqllib/EventQueue.h"
#include "velsqllib/RemoteLibrary.h"

#include <QTest>

#include <gtest/gtest.h>

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
        EXPECT_EQ(error.Description(), QStringLiteral("The server has lost the answer; the call was given up and may "
                                                      "have taken effect."));
    }
    EXPECT_EQ(longCalls, 1);
    engine->Stop();
    EXPECT_EQ(longCalls, 1) << "the next call is answered at once";
}

TEST_F(Broken, EventsThatComeFasterThanTheyAreHandledAreRefused)
{
    const BrokenServer server(-1);
    RemoteLibrary library(server.SocketPath(), QString(), Short);
    const ControllerRef controller = library.AttachEngine()->get_Controller(Variant(QStringLiteral("C")));
    const EventSubscriptionRef subscription = controller->Subscribe(*this);
    controller->Start();
    const int refused = BrokenServer::Changes - EventQueue::MostWaiting;
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.Refused() >= refused; }, 20'000)) << server.Refused();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Changes >= EventQueue::MostWaiting; }, 20'000));
    EXPECT_EQ(m_Changes + server.Refused(), BrokenServer::Changes);
}

} // namespace
