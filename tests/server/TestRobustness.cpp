#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"
#include "velsqllib/ServerSocket.h"

#include <capnp/rpc.capnp.h>
#include <capnp/serialize.h>
#include <linux/capability.h>
#include <random>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QString s_Numbers = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"_s;

/// What a client does that is odd, hostile or too much.
class Robustness : public ::testing::Test
{
protected:
    ServerRun m_Server;
    TestClient m_Client{m_Server.SocketPath()};
};

/// Sends as much as the server takes; returns the socket.
int SendTo(const QString& socketPath, const QByteArray& bytes)
{
    const int socket = ConnectToServer(socketPath);
    EXPECT_GE(socket, 0);
    for (qsizetype sent = 0, count = 1; count > 0 && sent < bytes.size(); sent += count)
        count = send(socket, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
    return socket;
}

using RpcMessage = capnp::rpc::Message::Builder;

/// Messages of the RPC's own, one behind the other, as they go over the wire.
QByteArray Wire(std::initializer_list<std::function<void(RpcMessage)>> messages)
{
    QByteArray bytes;
    for (const auto& write : messages) {
        capnp::MallocMessageBuilder message;
        write(message.initRoot<capnp::rpc::Message>());
        const auto words = capnp::messageToFlatArray(message);
        bytes.append(words.asChars().begin(), static_cast<qsizetype>(words.asChars().size()));
    }
    return bytes;
}

void AskLibrary(RpcMessage message)
{
    message.initBootstrap().setQuestionId(0);
}

/// Question `id`: the controller PLC1 for 2, else a subscription to it, whose receiver is a promise that is still to be resolved.
std::function<void(RpcMessage)> Ask(quint32 id, quint32 target, quint64 interfaceId, quint16 method)
{
    return [=](RpcMessage message) {
        auto call = message.initCall();
        call.setQuestionId(id);
        call.setInterfaceId(interfaceId);
        call.setMethodId(method);
        auto answer = call.initTarget().initPromisedAnswer();
        answer.setQuestionId(target);
        if (target > 0) answer.initTransform(1)[0].setGetPointerField(0);
        capnp::BuilderCapabilityTable table;
        auto content = table.imbue(call.initParams().getContent());
        if (id == 2) content.initAs<wire::Engine::GetControllerParams>().initName().setBstr(WireBytes(u"PLC1"_s));
        if (id < 3) return;
        content.initAs<wire::Controller::SubscribeParams>().setEvents(kj::heap<wire::ControllerEvents::Server>());
        call.getParams().initCapTable(1)[0].setSenderPromise(5);
    };
}

void ResolveToItself(RpcMessage message)
{
    auto resolve = message.initResolve();
    resolve.setPromiseId(5);
    resolve.initCap().setSenderPromise(5);
}

} // namespace

TEST_F(Robustness, APromiseThatIsItselfDoesNotHoldTheServer)
{
    constexpr quint64 library = capnp::typeId<wire::Library>(), engine = capnp::typeId<wire::Engine>();
    const auto attack = Wire({AskLibrary, Ask(1, 0, library, 0), Ask(2, 1, engine, 1),
                              Ask(3, 2, capnp::typeId<wire::Controller>(), 18), ResolveToItself});
    const int socket = SendTo(m_Server.SocketPath(), attack);
    EXPECT_TRUE(m_Client.IsAnswered());
    m_Server.Answer(u"fire PLC1 state 1 10"_s);
    EXPECT_FALSE(m_Server.HasEnded());
    EXPECT_EQ(m_Server.Answer(u"echo there"_s), u"there");
    close(socket);
}

TEST_F(Robustness, WhatTheServerDoesNotHaveIsRefusedWatchedOrNot)
{
    for (int i = 0; i < 2; ++i) {
        for (const quint64 interfaceId : {capnp::typeId<wire::Engine>(), capnp::typeId<wire::Item>()}) {
            for (const quint16 method : std::initializer_list<quint16>{99, 65535}) {
                auto request = m_Client.Engine().typelessRequest(interfaceId, method, nullptr);
                EXPECT_TRUE(OutcomeOf([&] { Wait(request.send().ignoreResult()); }).contains(u"not implemented"_s));
            }
        }
        m_Client.Execute(u"calls"_s); // from now on calls are watched
    }
    EXPECT_TRUE(m_Client.IsAnswered());
}

TEST_F(Robustness, ASubscriberThatReadsMissesNothingBecauseOthersDoNot)
{
    constexpr int Events = 92'000;
    int seen = 0;
    const auto subscription = m_Client.Subscribe(&seen);
    {
        TestClient deaf(m_Server.SocketPath());
        std::vector<wire::Subscription::Client> subscriptions;
        for (int i = 0; i < 11; ++i) subscriptions.push_back(deaf.Subscribe()); // together more than may wait
        deaf.StopReading();
        m_Client.Execute(u"fire PLC1 state 1 %1"_s.arg(Events));
        EXPECT_TRUE(WaitUntil([&] { return seen >= Events; })) << seen;
        EXPECT_FALSE(m_Server.Answer(u"references"_s).endsWith(u"events 0"_s));
    }
    EXPECT_TRUE(WaitUntil([&] { return m_Server.Answer(u"references"_s).endsWith(u"subscriptions 1, events 0"_s); }))
        << m_Server.Answer(u"references"_s).toStdString();
    const QStringList said = m_Server.Log().filter(u"does not read its events"_s);
    EXPECT_GE(said.size(), 1);
    EXPECT_EQ(said.filter(u"as all subscribers together have 1000000 waiting"_s), said)
        << said.join(u'\n').toStdString();
}

TEST_F(Robustness, HostileBytesEndOnlyTheirOwnConnection)
{
    std::mt19937 random(20240131);
    QList<QByteArray> attacks = {
        QByteArray("GET / HTTP/1.1\r\n\r\n"),
        QByteArray(8, '\xff'),                     // four thousand million segments
        QByteArray("\0\0\0\0\xff\xff\xff\x7f", 8), // one of 16 GB
        QByteArray("\x01\0\0\0\xff\xff\xff\xff\xff\xff\xff\xff\0\0\0\0", 16),
        QByteArray("\0\0\0\0\x01\0\0\0\0\0\0\0\xff\xff\xff\xff", 16), // a pointer into nowhere
    };
    for (int i = 0; i < 60; ++i) {
        QByteArray noise("\0\0\0\0\x10\0\0\0", 8);
        for (int j = 0; j < 128; ++j) noise.append(static_cast<char>(random()));
        attacks << noise;
    }
    for (const QByteArray& attack : attacks) {
        close(SendTo(m_Server.SocketPath(), attack));
        ASSERT_TRUE(m_Client.IsAnswered()) << attack.toHex().constData();
    }
    auto request = m_Client.Item(u"Recipe"_s).putValueRequest();
    auto array = request.initValue().initArray();
    array.initVariant(0);
    auto pointers = capnp::AnyStruct::Builder(kj::mv(array)).getPointerSection();
    pointers[0].initAsListOfAnyStruct(0, 0, 60'000'000); // elements of no size
    EXPECT_EQ(OutcomeOf([&] { Wait(request.send()); }), u"A value arrived that cannot be read.");
    EXPECT_LT(m_Server.MemoryMB(), 150.0);
    EXPECT_TRUE(WaitUntil([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }));
}

TEST_F(Robustness, AThousandConnections)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> sockets;
    for (int i = 0; i < 1200; ++i) {
        sockets.push_back(ConnectToServer(m_Server.SocketPath()));
        ASSERT_GE(sockets.back(), 0) << i;
        ASSERT_TRUE(i % 50 != 0 || m_Client.IsAnswered()) << i;
    }
    const auto isShut = [](int socket) {
        char byte;
        return recv(socket, &byte, 1, MSG_DONTWAIT) == 0;
    };
    EXPECT_TRUE(WaitUntil([&] { return isShut(sockets.back()); })) << "one too many";
    EXPECT_FALSE(isShut(sockets.front()));
    EXPECT_TRUE(m_Client.IsAnswered());
    for (const int socket : sockets) close(socket);
    EXPECT_TRUE(WaitUntil([&] { return TestClient(m_Server.SocketPath()).IsAnswered(); }));
    EXPECT_EQ(m_Server.Log().count(u"warning: There are 1024 clients: further ones are turned away."_s), 1);
}

TEST_F(Robustness, ClientsThatVanishLeaveNothing)
{
    for (int i = 0; i < 40; ++i) { // more than statements may run at once
        TestClient vanishing(m_Server.SocketPath());
        const auto subscription = vanishing.Subscribe();
        const auto sleeping = vanishing.Start(u"sleep 60000"_s);
        const auto counting = vanishing.Query(EndlessQuery);
        const auto endless = vanishing.Query(s_Numbers);
        EXPECT_TRUE(vanishing.IsAnswered());
        if (i == 0) Pause(500); // these two are in full swing
    }
    EXPECT_TRUE(WaitUntil([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }))
        << m_Server.Answer(u"references"_s).toStdString();
    EXPECT_TRUE(WaitUntil([&] { return OutcomeOf([&] { Wait(m_Client.Query(u"SELECT 1"_s)); }) == u"done"; }));
    EXPECT_EQ(m_Server.Terminate(), 0);
}

TEST_F(Robustness, AClientsStatementsAndResultsTakeNothingFromOthers)
{
    TestClient greedy(m_Server.SocketPath());
    const auto begin = [](TestClient& client, const QString& statement) {
        return OutcomeOf([&] { Wait(client.Query(statement)); });
    };
    std::vector<wire::ResultSet::Client> held;
    for (int i = 0; i < HistoryUser::MostResults; ++i) held.push_back(Wait(greedy.Query(u"SELECT 1"_s)).getResult());
    EXPECT_EQ(begin(greedy, u"SELECT 1"_s), u"256 results are held already.");
    EXPECT_EQ(begin(m_Client, u"SELECT 1"_s), u"done");
    held.clear();
    std::vector<capnp::RemotePromise<wire::History::ExecuteResults>> running;
    for (int i = 0; i < HistoryUser::MostStatements; ++i) running.push_back(greedy.Query(EndlessQuery));
    EXPECT_TRUE(WaitUntil([&] { return begin(greedy, u"SELECT 1"_s) == u"32 statements are running already."; }));
    EXPECT_EQ(begin(m_Client, u"SELECT 1"_s), u"done");
}

TEST_F(Robustness, ASubscriberThatDoesNotReadCostsABoundedAmount)
{
    Wait(m_Client.Controller().stopRequest().send());
    TestClient deaf(m_Server.SocketPath());
    const auto subscription = deaf.Subscribe();
    deaf.StopReading();
    const double before = m_Server.MemoryMB();
    for (int i = 0; i < 3; ++i) m_Client.Execute(u"fire PLC1 item D100 1000000"_s);
    EXPECT_LT(m_Server.MemoryMB() - before, 40.0);
    EXPECT_TRUE(m_Client.IsAnswered());
    EXPECT_TRUE(
        m_Server.Log().contains(u"warning: A subscriber of controller \"PLC1\" does not read its events: 100000 are "
                                "waiting, further ones are dropped."_s));
}

TEST_F(Robustness, AClientThatDoesNotReadItsAnswersCostsABoundedAmount)
{
    TestClient deaf(m_Server.SocketPath());
    auto item = deaf.Item(u"Picture"_s);
    deaf.StopReading();
    std::vector<capnp::RemotePromise<wire::Item::GetValueResults>> values;
    for (int i = 0; i < 20'000; ++i) values.push_back(item.getValueRequest().send()); // 9 kB each: 185 MB
    EXPECT_FALSE(WaitUntil([&] { return m_Server.MemoryMB() > 120.0; }, 5'000));
    EXPECT_TRUE(m_Client.IsAnswered());
}

TEST(Disk, ThatIsFullIsSaidAndNothingElseSuffers)
{
    ServerRun server({}, [] {
        constexpr rlim_t Bytes = 150 * 1024;
        const rlimit limit{Bytes, Bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    TestClient client(server.SocketPath());
    for (int i = 0; i < 2000; ++i) Wait(client.Engine().snapshotRequest().send()); // some recorded values each
    auto result = Wait(client.Query(s_Numbers + u" LIMIT 100000"_s)).getResult();
    QString failure;
    WaitUntil([&] {
        const auto progress = Wait(result.progressRequest().send());
        failure = FromWireText(progress.getFailure());
        return progress.getComplete();
    });
    EXPECT_EQ(failure, u"The result cannot be kept: File too large");
    EXPECT_FALSE(client.Value(u"Counter"_s).IsEmpty());
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_FALSE(server.Log().filter(u"History destination 1: Values wait, at most 200000: "_s).isEmpty());
}

TEST(Disk, ADatabaseThatIsReadOnlyIsWrittenToOnceItMayBe)
{
    const QTemporaryDir folder;
    const QString database = folder.filePath(u"history.db"_s);
    const HistorySettings settings = RecordingInto(u"Database="_s + database);
    {
        AskedHistory history(settings);
        history.Record(u"A"_s, 1);
        ASSERT_TRUE(history.Flush());
    }
    const QString plant = folder.filePath(u"plant.toml"_s);
    WriteFile(plant, "[[history.destination]]\nconnection = \"Database=" + database.toUtf8() +
                         "\"\n[[controller]]\nname = \"PLC1\"\n[[controller.item]]\nname = \"N\"\nhistory = true\n");
    QFile::setPermissions(database, QFile::ReadOwner);
    // Modes mean nothing to root otherwise.
    ServerRun server({u"--plant"_s, plant}, [] { prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); });
    TestClient client(server.SocketPath());
    auto put = client.Item(u"N"_s).putValueRequest();
    client.Set(put.initValue(), 2);
    Wait(put.send());
    QStringList log = {
        u"error: History destination 1: Values wait, at most 200000: attempt to write a readonly database"_s};
    EXPECT_TRUE(WaitUntil([&] { return server.Log().mid(1) == log; }));
    EXPECT_EQ(client.Value(u"N"_s), Variant(2));
    QFile::setPermissions(database, QFile::ReadOwner | QFile::WriteOwner);
    log << u"info: History destination 1: Values are written again; 0 were dropped meanwhile."_s;
    EXPECT_TRUE(WaitUntil([&] { return server.Log().mid(1) == log; })) << server.Log().join(u'\n').toStdString();
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_EQ(AskedHistory(settings).Ask(u"SELECT item_value FROM velsql_history"_s),
              QStringList({u"item_value"_s, u"1"_s, u"2"_s}));
}
