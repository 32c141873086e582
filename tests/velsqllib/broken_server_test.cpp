#include "tests/server/Outcome.h"
#include "velsqllib/EventQueue.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/velsqllib.capnp.h"

#include <kj/async-io.h>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <capnp/rpc-twoparty.h>
#include <sys/eventfd.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

struct ForgetfulController final : wire::Controller::Server
{
    kj::Promise<void> getState(GetStateContext) override { return kj::READY_NOW; }
};

struct ForgetfulEngine final : wire::Engine::Server
{
    kj::Promise<void> start(StartContext) override { return kj::NEVER_DONE; }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }
    kj::Promise<void> getControllerNames(GetControllerNamesContext context) override
    {
        return context.getResults().initResult().setI4(7), kj::READY_NOW;
    }
    kj::Promise<void> getController(GetControllerContext context) override
    {
        return context.getResults().setResult(kj::heap<ForgetfulController>()), kj::READY_NOW;
    }
};

/// Answers that no server of ours gives to the calls get_ControllerNames, get_Controller and get_State of what that
/// answers: so many, all alike; and a part of what their step comes to.
const struct
{
    uint Count;
    void (*Fill)(wire::Outcome::Builder);
    const char* Read;
} s_WrongAnswers[] = {
    {0, nullptr, "3,7"},
    {2, [](auto it) { it.initResults().template initAs<wire::Value>().setI4(1); }, "Called null capability."},
    {3, [](auto it) { it.setSkipped(); }, "3,7"},
    {3, [](auto it) { it.initResults().template setAs<capnp::Text>("no struct"); },
     "Message contains non-struct pointer"},
    {3, [](auto it) { it.initResults().template setAs<wire::Item>(nullptr); }, "0"},
    {9, [](auto it) { it.setFailure("no"); }, "no"},
};

struct ForgetfulLibrary final : wire::Library::Server
{
    kj::Promise<void> createEngine(CreateEngineContext context) override
    {
        context.getResults().setResult(kj::heap<ForgetfulEngine>());
        context.getResults().setLevel(wire::LEVEL);
        return kj::READY_NOW;
    }
    kj::Promise<void> callInTurn(CallInTurnContext context) override
    {
        const auto& answer = s_WrongAnswers[m_Answered++];
        for (auto outcome : context.getResults().initOutcomes(answer.Count)) answer.Fill(outcome);
        return kj::READY_NOW;
    }
    kj::Promise<void> ping(PingContext context) override
    {
        context.getResults().setCallsUnderWay(0);
        return kj::READY_NOW;
    }

    std::size_t m_Answered = 0;
};

/// A server on a thread of its own that never answers the engine's Start, and says that no call is under way.
class BrokenServer
{
public:
    ~BrokenServer() { eventfd_write(m_Ending, 1); }

    QString SocketPath() const { return m_Socket.Path(); }

private:
    void Serve()
    {
        kj::AsyncIoContext io = kj::setupAsyncIo();
        auto listener = io.lowLevelProvider->wrapListenSocketFd(m_Socket.Descriptor());
        capnp::TwoPartyServer server(kj::heap<ForgetfulLibrary>());
        const auto served = server.listen(*listener);
        auto ending = io.lowLevelProvider->wrapInputFd(m_Ending, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP);
        eventfd_t ended = 0;
        ending->read(&ended, sizeof ended).wait(io.waitScope);
    }

    QTemporaryDir m_Folder;
    const ListeningSocket m_Socket{m_Folder.filePath(u"broken.sock"_s)};
    const int m_Ending = eventfd(0, 0);
    std::jthread m_Thread{[this] { Serve(); }};
};

class Broken : public ::testing::Test, public ControllerEvents
{
protected:
    void OnChangeState(qint32 state) override { m_OnState(state); }
    void OnChangeItem(const ItemRef&) override {}

    std::function<void(qint32)> m_OnState;

    BrokenServer m_Server;
    RemoteLibrary m_Library{
        m_Server.SocketPath(), QString(), {.Interval = 30ms, .BeforePing = 100ms, .ForPingAnswer = 60s}};
    EngineRef m_Engine = m_Library.AttachEngine();
    EventQueue m_Queue{[](const QList<CallStep>& steps, qsizetype first) { return steps[first].Take(), 1; }};
};

TEST_F(Broken, AnAnswerThatTheServerKnowsNothingOfIsNotWaitedFor)
{
    int longCalls = 0;
    m_Library.OnLongCall([&] { ++longCalls; });
    for (const int calls : {1, 2}) {
        EXPECT_EQ(OutcomeOf([&] { m_Engine->Start(); }),
                  u"The server has lost the answer; the call was given up and may have taken effect.");
        EXPECT_EQ(longCalls, calls) << "once in every long call";
    }
    EXPECT_EQ(OutcomeOf([&] { m_Engine->Stop(); }), u"done");
}

TEST_F(Broken, WrongAnswersToCallsInTurnAreErrorsOrAskedAgain)
{
    OutcomeOf([&] { m_Engine->Stop(); }); // the server has told its level
    for (const auto& answer : s_WrongAnswers) {
        const auto read = [&] {
            const Variant names = m_Engine->get_ControllerNames();
            m_Engine->get_Controller({})->get_State();
            return names;
        };
        QString outcome;
        EXPECT_EQ(m_Library.TakeSteps({{read, [&] { outcome = OutcomeOf(read); }}}, 0), 1);
        EXPECT_TRUE(outcome.contains(QString::fromUtf8(answer.Read))) << outcome.toStdString();
    }
}

TEST_F(Broken, EventsThatComeFasterThanTheyAreHandledAreRefused)
{
    int handled = 0;
    m_OnState = [&](qint32) { ++handled; };
    const auto sink = std::make_shared<EventSink>(EventSink{this});
    m_Queue.Add(sink, std::vector<Change>(EventQueue::MostWaiting + 1, 1));
    for (int i = 0; i < EventQueue::MostWaiting; ++i) m_Queue.Add(sink, {1, 2});
    EXPECT_TRUE(QTest::qWaitFor([&] { return sink->Waiting == 0; }, 20'000));
    EXPECT_EQ(handled, EventQueue::MostWaiting);
}

TEST_F(Broken, EventsAreHandledOneAfterTheOtherInSlicesThatLeaveOthersTheirTurn)
{
    int depth = 0, deepest = 0, handled = 0;
    QList<int> turns = {0};
    std::vector<std::function<void()>> handlers;
    m_OnState = [&](qint32 number) {
        deepest = std::max(deepest, ++depth);
        const auto handle = handlers[static_cast<size_t>(number)];
        handle();
        --depth;
        ++handled;
    };
    const auto add = [&](const std::function<void()>& handle) {
        handlers.push_back(handle);
        m_Queue.Add(std::make_shared<EventSink>(EventSink{this}), {static_cast<qint32>(handlers.size() - 1)});
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
