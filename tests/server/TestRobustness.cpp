#include "server/worker/Worker.h"
#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"
#include "velsqllib/ServerSocket.h"

#include <capnp/rpc.capnp.h>
#include <capnp/serialize.h>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QString s_Numbers = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"_s;

/// A message of a text and of three pointers to it.
QByteArray Repetition()
{
    capnp::MallocMessageBuilder message;
    auto content = message.initRoot<capnp::rpc::Message>().initReturn().initResults().initContent();
    content.initAs<capnp::List<capnp::Data>>(3).init(0, 800);
    auto words = capnp::messageToFlatArray(message);
    auto* first = reinterpret_cast<quint64*>(words.end() - 3 - 800 / sizeof(capnp::word));
    first[2] = (first[1] = first[0] - 4) - 4; // relative to themselves
    return {words.asChars().begin(), static_cast<qsizetype>(words.asChars().size())};
}

/// What a client does that is odd, hostile or too much.
class Robustness : public ::testing::Test
{
protected:
    ServerRun m_Server;
    TestClient m_Client{m_Server.SocketPath()};
};

} // namespace

TEST(Worker, WhatItsWorkThrowsIsLoggedAndEndsNothingElse)
{
    testing::internal::CaptureStderr();
    const Worker worker([](const std::stop_token&) { throw std::bad_alloc(); });
    EXPECT_TRUE(worker.WaitFor(std::chrono::seconds(5)));
    EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with("restart: Out of memory\n"));
}

TEST_F(Robustness, HostileBytesEndOnlyTheirOwnConnection)
{
    const QByteArray attacks[] = {
        QByteArray("GET / HTTP/1.1\r\n\r\n"),
        QByteArray(8, '\xff'),                     // four thousand million segments
        QByteArray("\0\0\0\0\xff\xff\xff\x7f", 8), // one of 16 GB
        QByteArray("\x01\0\0\0\xff\xff\xff\xff\xff\xff\xff\xff\0\0\0\0", 16),
        QByteArray("\0\0\0\0\x01\0\0\0\0\0\0\0\xff\xff\xff\xff", 16), // a pointer into nowhere
    };
    for (const QByteArray& attack : attacks) {
        const int socket = ConnectToServer(m_Server.SocketPath());
        EXPECT_EQ(send(socket, attack.constData(), static_cast<size_t>(attack.size()), MSG_NOSIGNAL), attack.size());
        close(socket);
        ASSERT_TRUE(m_Client.IsAnswered()) << attack.toHex().constData();
    }
    const int socket = ConnectToServer(m_Server.SocketPath());
    send(socket, Repetition().constData(), static_cast<size_t>(Repetition().size()), MSG_NOSIGNAL);
    QByteArray answer(1000, ' ');
    const auto isTold = [&] { return recv(socket, answer.data(), 1000, MSG_DONTWAIT), answer.contains("than it has"); };
    EXPECT_TRUE(WaitUntil(isTold)) << answer.constData();
    close(socket);
    const auto putElements = [&](quint16 words, uint count) { // so long each
        auto request = m_Client.Item(u"Recipe"_s).putValueRequest();
        auto array = request.initValue().initArray();
        array.initVariant(0);
        capnp::AnyStruct::Builder(kj::mv(array)).getPointerSection()[0].initAsListOfAnyStruct(words, 0, count);
        return OutcomeOf([&] { Wait(request.send()); });
    };
    EXPECT_EQ(putElements(0, 60'000'000), u"A value arrived that cannot be read.");
    EXPECT_EQ(putElements(1, 1), u"An array claims more elements than it has.");
    for (int i = 0; i < 2; ++i) {
        auto unknown = m_Client.Engine().typelessRequest(capnp::typeId<wire::Item>(), 65535, nullptr);
        EXPECT_TRUE(OutcomeOf([&] { Wait(unknown.send().ignoreResult()); }).contains(u"not implemented"_s));
        m_Client.Execute(u"calls"_s); // from now on calls are watched
    }
}

TEST_F(Robustness, ListsOfCallsThatMakeNoSense)
{
    using Request = capnp::Request<wire::Library::CallInTurnParams, wire::Library::CallInTurnResults>;
    const auto askItem = [](Request& it, wire::Item::Client item, int method) {
        it.initObjects(1)[0].setItem(kj::mv(item));
        it.initCalls(1)[0].setMethod(static_cast<quint16>(method));
    };
    const std::pair<QString, std::function<void(Request&)>> cases[] = {
        {u"At most 1024 calls are carried out in turn."_s, [](Request& it) { it.initCalls(1025); }},
        {u"A call has no object.|A call has no object."_s, [](Request& it) { it.initCalls(2), it.initObjects(0); }},
        {u"Controller \"X\" does not exist."_s, [&](Request& it) { askItem(it, m_Client.Item(u"D100"_s, u"X"_s), 0); }},
        {u"A call asks for an unknown operation."_s, [&](Request& it) { askItem(it, m_Client.Item(u"D100"_s), 999); }},
        {u"remote exception: Method not implemented."_s, // its own object
         [&](Request& it) { askItem(it, kj::heap<wire::Item::Server>(), 0); }},
        {u"skipped"_s,
         [&](Request& it) {
             askItem(it, m_Client.Item(u"D100"_s), 0);
             it.getCalls()[0].setCondition(static_cast<wire::Condition>(77));
         }},
    };
    for (const auto& [expected, write] : cases) {
        auto request = m_Client.Library().callInTurnRequest();
        write(request);
        const QString outcome = OutcomeOf([&] {
            QStringList texts;
            const auto answer = Wait(request.send());
            for (const auto one : answer.getOutcomes())
                texts << (one.isSkipped() ? u"skipped"_s : QString::fromUtf8(one.getFailure().cStr()));
            return texts.join(u'|');
        });
        EXPECT_TRUE(outcome.startsWith(expected)) << outcome.toStdString();
    }
    EXPECT_TRUE(m_Client.IsAnswered());
}

TEST_F(Robustness, AThousandConnections)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    std::vector<int> sockets;
    while (sockets.size() < 1200) {
        sockets.push_back(ConnectToServer(m_Server.SocketPath()));
        ASSERT_TRUE(sockets.size() % 50 != 0 || m_Client.IsAnswered()) << sockets.size();
    }
    char byte = 0;
    EXPECT_TRUE(WaitUntil([&] { return recv(sockets.back(), &byte, 1, MSG_DONTWAIT) == 0; })) << "one too many";
    for (const int socket : sockets) close(socket);
    EXPECT_TRUE(WaitUntil([&] { return TestClient(m_Server.SocketPath()).IsAnswered(); })) << "there is place again";
    EXPECT_EQ(m_Server.Log().count(u"warning: There are 1024 clients: further ones are turned away."_s), 1);
}

TEST_F(Robustness, ClientsThatVanishLeaveNothing)
{
    for (int i = 0; i < 40; ++i) { // more than statements may run at once
        TestClient vanishing(m_Server.SocketPath());
        auto subscribe = vanishing.Controller().subscribeRequest();
        subscribe.setEvents(kj::heap<wire::ControllerEvents::Server>());
        const auto subscription = Wait(subscribe.send());
        const auto sleeping = vanishing.Start(u"sleep 60000"_s);
        const auto counting = vanishing.Query(EndlessQuery);
        const auto endless = vanishing.Query(s_Numbers);
        EXPECT_TRUE(vanishing.IsAnswered());
        if (i == 0) Pause(500); // these two are in full swing
    }
    EXPECT_TRUE(WaitUntil([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }));
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

TEST(Disk, ThatIsFullIsSaidAndNothingElseSuffers)
{
    ServerRun server({}, [] {
        constexpr rlim_t Bytes = 150 * 1024;
        const rlimit limit{Bytes, Bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    TestClient client(server.SocketPath());
    EXPECT_TRUE(WaitUntil([&] {
        Wait(client.Engine().snapshotRequest().send()); // some recorded values each
        return !server.Log().filter(u"History destination 1: Values wait: "_s).isEmpty();
    }));
    auto result = Wait(client.Query(s_Numbers + u" LIMIT 100000"_s)).getResult();
    const auto failure = [&] { return FromWireText(Wait(result.progressRequest().send()).getFailure()); };
    EXPECT_TRUE(WaitUntil([&] { return failure() == u"The result cannot be kept: File too large"; }));
    EXPECT_FALSE(client.Value(u"Counter"_s).IsEmpty());
    EXPECT_EQ(server.Terminate(), 0);
}

TEST(Disk, ADatabaseThatIsReadOnlyIsWrittenToOnceItMayBe)
{
    const QTemporaryDir folder;
    const QString database = folder.filePath(u"history.db"_s), plant = folder.filePath(u"plant.toml"_s);
    const HistorySettings settings = RecordingInto(u"Database="_s + database);
    AskedHistory(settings).Flush(0); // makes it
    WriteFile(plant, "[[history.destination]]\nconnection = \"Database=" + database.toUtf8() +
                         "\"\n[[controller]]\nname = \"PLC1\"\n[[controller.item]]\nname = \"N\"\nhistory = true\n");
    const QString partition = database + u".parts/velsql_history/1000000.db"_s;
    QFile::setPermissions(partition, QFile::ReadOwner);
    // Modes mean nothing to root otherwise.
    ServerRun server({u"--plant"_s, plant}, [] { prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); });
    TestClient client(server.SocketPath());
    auto put = client.Item(u"N"_s).putValueRequest();
    client.Set(put.initValue(), 2);
    Wait(put.send());
    EXPECT_TRUE(WaitUntil([&] { return server.Log().value(1).endsWith(u": attempt to write a readonly database"); }))
        << server.Log().join(u'\n').toStdString();
    EXPECT_EQ(client.Value(u"N"_s), Variant(2));
    QFile::setPermissions(partition, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_TRUE(WaitUntil([&] { return server.Log().value(2).endsWith(u" 0 were dropped meanwhile."); }))
        << server.Log().join(u'\n').toStdString();
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_EQ(AskedHistory(settings).Ask(u"SELECT item_value FROM velsql_history"_s), u"item_value\n2");
}
