#include "server/rpc/QuestionTable.h"
#include "server/rpc/Subscribers.h"
#include "server/rpc/SubscriptionServer.h"
#include "tests/server/TestClient.h"
#include "tests/server/TestPlant.h"

#include <gtest/gtest.h>

namespace {

/// Counts events; each is answered, or fails in one way.
class Receiver : public wire::ControllerEvents::Server
{
public:
    explicit Receiver(int& seen, std::optional<kj::Exception::Type> failure = {})
        : m_Seen(seen)
        , m_Failure(failure)
    {
    }

private:
    kj::Promise<void> onChangeState(OnChangeStateContext) override { return See(1); }
    kj::Promise<void> onChanges(OnChangesContext context) override
    {
        return See(static_cast<int>(context.getParams().getChanges().size()));
    }
    kj::Promise<void> See(int count)
    {
        m_Seen += count;
        if (m_Failure) return kj::Exception(*m_Failure, __FILE__, __LINE__, kj::str("no"));
        return kj::READY_NOW;
    }

    int& m_Seen;
    const std::optional<kj::Exception::Type> m_Failure;
};

/// Of clients that take events one by one, or many together.
class SubscribersTest : public ::testing::TestWithParam<quint16>
{
protected:
    kj::Own<SubscriptionServer> Subscribe(wire::ControllerEvents::Client events)
    {
        return kj::heap<SubscriptionServer>(m_All, m_Objects, m_Controller, kj::mv(events), GetParam());
    }
    /// To which no event is answered.
    kj::Own<SubscriptionServer> SubscribeDeaf()
    {
        return Subscribe(kj::Promise<wire::ControllerEvents::Client>(kj::NEVER_DONE));
    }
    void Fire(int times)
    {
        for (int i = 0; i < times; ++i) m_Controller->RaiseStateChanged(1);
    }

    kj::AsyncIoContext& m_Loop = TestLoop();
    TestPlant m_Plant;
    PlantControllerRef m_Controller = m_Plant.Add({.Name = u"PLC1"_s});
    NoObjects m_Objects;
    Subscribers m_All;
    int m_Seen = 0;
};

using Message = capnp::rpc::Message::Builder;

auto CapsOf(Message call, uint count)
{
    return call.initCall().initParams().initCapTable(count);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Levels, SubscribersTest, ::testing::Values(quint16{0}, wire::LEVEL));

TEST_P(SubscribersTest, WhatTheyOweIsCountedUntilTheyAnswerRefuseOrEnd)
{
    const qint32 many = m_All.MostUnanswered();
    {
        const auto refusing = Subscribe(kj::heap<Receiver>(m_Seen, kj::Exception::Type::FAILED));
        Fire(60'000);
        EXPECT_TRUE(WaitUntil([&] { return m_Seen == 60'000; })) << m_Seen << ": a refusal says nothing about the next";
        Pause(1);
        EXPECT_EQ(m_All.MostUnanswered(), many) << "each refusal is an answer";
    }
    const auto gone = Subscribe(kj::heap<Receiver>(m_Seen = 0, kj::Exception::Type::DISCONNECTED));
    Fire(many + 1000);
    EXPECT_EQ(m_All.Waiting(), 1000);
    Pause(1);
    Fire(1000);
    EXPECT_EQ(std::pair(m_All.Waiting(), m_Seen), std::pair(qint64{0}, many)) << "it never answers again";
    {
        std::vector<kj::Own<SubscriptionServer>> deaf;
        while (deaf.size() < 200) deaf.push_back(SubscribeDeaf());
        Fire(300);
        EXPECT_GT(m_All.Waiting(), 0);
        EXPECT_LT(m_All.MostUnanswered(), many) << "too many are unanswered";
    }
    EXPECT_EQ(std::pair(m_All.Waiting(), m_All.MostUnanswered()), std::pair(qint64{0}, many));
    EXPECT_EQ(m_All.Count(), 1u);
}

TEST_P(SubscribersTest, ThatDoNotReadKeepABoundedNumberOfEventsAndTakeNoneFromOneThatDoes)
{
    std::vector<kj::Own<SubscriptionServer>> deaf;
    while (deaf.size() < 10) deaf.push_back(SubscribeDeaf());
    auto reads = kj::newPromiseAndFulfiller<wire::ControllerEvents::Client>();
    const auto late = Subscribe(kj::mv(reads.promise)); // together more than may wait
    const auto reading = Subscribe(kj::heap<Receiver>(m_Seen));
    const auto most = static_cast<int>(SubscriptionServer::MostWaiting);
    testing::internal::CaptureStderr();
    for (const int fired : {most / 2, most, 3 * most / 2}) {
        Fire(most / 2);
        EXPECT_TRUE(WaitUntil([&] { return m_Seen == fired; })) << m_Seen;
    }
    const int kept = most + m_All.MostUnanswered();
    m_Seen = 0;
    reads.fulfiller->fulfill(kj::heap<Receiver>(m_Seen));
    EXPECT_TRUE(WaitUntil([&] { return m_Seen == kept; })) << m_Seen;
    const QString log = QString::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.count(u"A subscriber of controller \"PLC1\" does not read its events: "), 11) << "once each";
    for (const QString& text : {u": 100000 are waiting, further ones are dropped."_s,
                                u": as all subscribers together have 1000000 waiting, its "_s,
                                u" reads again; %1 events were dropped."_s.arg(3 * most / 2 - kept)})
        EXPECT_TRUE(log.contains(text)) << log.toStdString();
}

TEST(QuestionTable, RefusesWhatTheRpcSystemWouldTrust)
{
    const std::pair<const char16_t*, void (*)(Message)> cases[] = {
        {u"used a call's number twice", [](Message it) { it.initCall(); }},
        {u"finished a call that it had not made", [](Message it) { it.initFinish().setQuestionId(9); }},
        {u"sent a kind of message that the server does not take", [](Message it) { it.initResolve(); }},
        {u"sent a kind of answer that the server does not take",
         [](Message it) { it.initReturn().setResultsSentElsewhere(); }},
        {u"sent a call whose answer is to go elsewhere",
         [](Message it) { it.initCall().getSendResultsTo().setYourself(); }},
        {u"sent a kind of object that the server does not take", // a promise, which could be resolved to itself
         [](Message it) { CapsOf(it, 1)[0].setSenderPromise(5); }},
        {u"sent too many objects in one message", [](Message it) { CapsOf(it, QuestionTable::MostObjects + 1); }},
        {u"sent too many steps to an object",
         [](Message it) { CapsOf(it, 1)[0].initReceiverAnswer().initTransform(QuestionTable::MostSteps + 1); }},
    };
    const auto ledger = std::make_shared<ClientLedger>(TestLoop().provider->getTimer());
    QuestionTable questions(std::make_shared<ClientAccount>(ledger, [] {}));
    const auto receive = [&](const auto& write) {
        capnp::MallocMessageBuilder message;
        write(message.initRoot<capnp::rpc::Message>());
        return OutcomeOf([&] { questions.Received(message.getRoot<capnp::rpc::Message>().asReader()); });
    };
    EXPECT_EQ(receive([](Message it) { it.initBootstrap(); }), u"done");
    EXPECT_EQ(receive([](Message it) { it.initReturn().setCanceled(); }), u"done") << "of an event that was taken back";
    for (const auto& [refusal, write] : cases) EXPECT_EQ(receive(write), u"it "_s + QString::fromUtf16(refusal));
    uint id = 0;
    const auto askOfTheLast = [&](Message it) {
        auto call = it.initCall();
        call.initTarget().initPromisedAnswer().setQuestionId(id);
        call.setQuestionId(++id);
    };
    while (id + 1 < QuestionTable::MostInARow) EXPECT_EQ(receive(askOfTheLast), u"done");
    EXPECT_EQ(receive(askOfTheLast), u"it sent too many calls each of which waits for another one");
}
