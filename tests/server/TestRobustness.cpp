#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"

#include "core/automation/PlainText.h"
#include "velsqllib/ServerSocket.h"

#include <csignal>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <QElapsedTimer>
#include <random>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QString s_Plc = QStringLiteral("PLC1");
const QString s_Endless =
    QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n");
const QString s_NothingHeld = QStringLiteral("controllers 0, items 0, results 0, subscriptions 0");

QString References(TestClient& client)
{
    return ToPlainText(client.Execute(QStringLiteral("references")));
}

bool Answers(TestClient& client)
{
    return FailureOf([&] { client.Wait(client.Library.pingRequest().send()); }) == QStringLiteral("succeeded");
}

/// A stream of a client that writes but never reads.
class DeafStream : public kj::AsyncIoStream
{
public:
    explicit DeafStream(kj::Own<kj::AsyncIoStream> stream)
        : m_Stream(kj::mv(stream))
    {
    }
    kj::Promise<size_t> read(void*, size_t, size_t) override { return kj::NEVER_DONE; }
    kj::Promise<size_t> tryRead(void*, size_t, size_t) override { return kj::NEVER_DONE; }
    kj::Promise<void> write(const void* bytes, size_t size) override { return m_Stream->write(bytes, size); }
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override
    {
        return m_Stream->write(pieces);
    }
    kj::Promise<void> whenWriteDisconnected() override { return m_Stream->whenWriteDisconnected(); }
    void shutdownWrite() override { m_Stream->shutdownWrite(); }

private:
    kj::Own<kj::AsyncIoStream> m_Stream;
};

void Send(int socket, const QByteArray& bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const auto count =
            send(socket, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0) return; // the server has hung up, or reads no more
        sent += count;
    }
}

} // namespace

TEST(Robustness, HostileBytesEndOnlyTheirOwnConnection)
{
    ServerRun server;
    TestClient client(server.SocketPath());
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
        attacks.append(noise);
    }
    for (const QByteArray& attack : attacks) {
        const int socket = ConnectToServer(server.SocketPath());
        ASSERT_GE(socket, 0);
        Send(socket, attack);
        close(socket);
        ASSERT_TRUE(Answers(client)) << attack.toHex().constData();
    }
    EXPECT_LT(server.MemoryMB(), 150.0);
    EXPECT_EQ(References(client), s_NothingHeld);
}

TEST(Robustness, AnArrayThatClaimsMoreThanItHasIsRefused)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    auto request = client.Item(s_Plc, QStringLiteral("Recipe")).putValueRequest();
    auto array = request.initValue().initArray();
    array.initVariant(0);
    auto pointers = capnp::AnyStruct::Builder(kj::mv(array)).getPointerSection();
    pointers[0].initAsListOfAnyStruct(0, 0, 60'000'000); // elements of no size
    EXPECT_EQ(FailureOf([&] { client.Wait(request.send()); }),
              QStringLiteral("An array claims more elements than it has."));
    EXPECT_LT(server.MemoryMB(), 150.0);
    EXPECT_TRUE(Answers(client));
}

TEST(Robustness, AThousandConnections)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    ServerRun server;
    TestClient client(server.SocketPath());
    std::vector<int> sockets;
    for (int i = 0; i < 1200; ++i) {
        sockets.push_back(ConnectToServer(server.SocketPath()));
        ASSERT_TRUE(i % 50 != 0 || Answers(client)) << i;
    }
    const auto isShut = [](int socket) {
        char byte;
        return recv(socket, &byte, 1, MSG_DONTWAIT) == 0;
    };
    EXPECT_FALSE(isShut(sockets.front()));
    EXPECT_TRUE(WaitUntil([&] { return isShut(sockets.back()); })) << "one too many";
    EXPECT_TRUE(Answers(client));
    for (const int socket : sockets) close(socket);
    EXPECT_TRUE(WaitUntil([&] {
        TestClient another(server.SocketPath());
        return Answers(another);
    }));
    server.Process().terminate();
    EXPECT_EQ(server.LogUntilEnd().count(QStringLiteral("There are 1024 clients: further ones are turned away.\n")), 1);
}

TEST(Robustness, ClientsThatVanishLeaveNothing)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    QStringList seen;
    for (int i = 0; i < 40; ++i) { // more than statements may run at once
        TestClient vanishing(server.SocketPath());
        const auto subscription = vanishing.Subscribe(s_Plc, seen);
        auto sleep = vanishing.Engine.executeRequest();
        sleep.setCommand(WireBytes(QStringLiteral("sleep 60000")));
        const auto sleeping = sleep.send();
        const auto running = vanishing.Query(s_Endless);
        const auto endless = vanishing.Query(
            QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT 1 FROM n) SELECT i FROM n"));
        vanishing.Wait(vanishing.Library.pingRequest().send());
        if (i == 0) WaitUntil([] { return false; }, 500); // these two are in full swing
    }
    EXPECT_TRUE(WaitUntil([&] { return References(client) == s_NothingHeld; })) << References(client).toStdString();
    EXPECT_TRUE(WaitUntil([&] {
        return FailureOf([&] { client.Wait(client.Query(QStringLiteral("SELECT 1"))); }) == QStringLiteral("succeeded");
    }));
    QElapsedTimer time;
    time.start();
    server.Process().terminate();
    EXPECT_EQ(server.ExitCode(), 0);
    EXPECT_LT(time.elapsed(), 3'000) << "all their statements have ended";
}

TEST(Robustness, NoneOf40000EventsIsLost)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    client.Wait(client.Controller(s_Plc).stopRequest().send());
    QStringList seen;
    const auto subscription = client.Subscribe(s_Plc, seen);
    client.Execute(QStringLiteral("fire PLC1 item D100 20000"));
    client.Execute(QStringLiteral("fire PLC1 state 3 20000"));
    EXPECT_TRUE(WaitUntil([&] { return seen.size() >= 40'000; }, 60'000));
    EXPECT_EQ(seen, QStringList(20'000, QStringLiteral("PLC1\\D100")) + QStringList(20'000, QStringLiteral("state 3")));
}

TEST(Robustness, ASubscriberThatDoesNotReadCostsABoundedAmount)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    client.Wait(client.Controller(s_Plc).stopRequest().send());
    TestClient deaf(kj::heap<DeafStream>(Connect(server.SocketPath())));
    QStringList seen;
    auto controller = deaf.Engine.getControllerRequest();
    deaf.Set(controller.initName(), s_Plc);
    auto subscribe = controller.send().getResult().subscribeRequest();
    subscribe.setEvents(kj::heap<Subscriber>(seen));
    const auto subscription = subscribe.send();
    ASSERT_TRUE(WaitUntil([&] { return References(client).endsWith(QStringLiteral("subscriptions 1")); }));
    const double before = server.MemoryMB();
    for (int i = 0; i < 3; ++i) client.Execute(QStringLiteral("fire PLC1 item D100 1000000"));
    EXPECT_LT(server.MemoryMB() - before, 40.0);
    EXPECT_TRUE(Answers(client));
    server.Process().terminate();
    EXPECT_TRUE(server.LogUntilEnd().contains(QStringLiteral("A subscriber of controller \"PLC1\" does not read its "
                                                             "events: 100000 are waiting, further ones are dropped.")));
}

TEST(Robustness, AClientThatDoesNotReadItsAnswersCostsABoundedAmount)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    TestClient deaf(kj::heap<DeafStream>(Connect(server.SocketPath())));
    auto controller = deaf.Engine.getControllerRequest();
    deaf.Set(controller.initName(), s_Plc);
    auto find = controller.send().getResult().getItemRequest();
    deaf.Set(find.initName(), QStringLiteral("Picture"));
    auto item = find.send().getResult();
    std::vector<capnp::RemotePromise<wire::Item::GetValueResults>> values;
    for (int i = 0; i < 20'000; ++i) values.push_back(item.getValueRequest().send()); // 9 kB each: 185 MB
    WaitUntil([] { return false; }, 2'000);
    EXPECT_LT(server.MemoryMB(), 120.0);
    EXPECT_TRUE(Answers(client));
}

TEST(Robustness, AFullDiskIsSaidAndNothingElseSuffers)
{
    ServerRun server({}, [] {
        constexpr rlim_t Bytes = 150 * 1024;
        const rlimit limit{Bytes, Bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    TestClient client(server.SocketPath());
    for (int i = 0; i < 2000; ++i) client.Wait(client.Engine.snapshotRequest().send()); // some recorded values each
    auto many = client.Query(
        QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 100000) SELECT i FROM n"));
    auto result = client.Wait(kj::mv(many)).getResult();
    QString failure;
    WaitUntil([&] {
        auto progress = client.Wait(result.progressRequest().send());
        failure = FromWireText(progress.getFailure());
        return progress.getComplete();
    });
    EXPECT_EQ(failure, QStringLiteral("The result cannot be kept: File too large"));
    EXPECT_FALSE(client.Value(s_Plc, QStringLiteral("Counter")).IsEmpty());
    server.Process().terminate();
    EXPECT_TRUE(server.LogUntilEnd().contains(QStringLiteral("History destination 1: Values wait, at most 200000: ")));
}

TEST(Robustness, AReadOnlyDatabaseIsWrittenToOnceItMayBe)
{
    const QTemporaryDir folder;
    const QString database = folder.filePath(QStringLiteral("history.db"));
    HistorySettings settings;
    settings.Destinations[0].ConnectionString = QStringLiteral("Database=") + database;
    {
        AskedHistory history(settings);
        history.Record(QStringLiteral("A"), 1);
        ASSERT_TRUE(history.Flush(5'000));
    }
    const auto set = [&](const char* mode) {
        QProcess::execute(QStringLiteral("chmod"), {QString::fromLatin1(mode), database});
    };
    QFile plant(folder.filePath(QStringLiteral("plant.toml")));
    ASSERT_TRUE(plant.open(QIODevice::WriteOnly));
    plant.write(QStringLiteral("[[history.destination]]\nconnection = \"Database=%1\"\n"
                               "[[controller]]\nname = \"C\"\n"
                               "[[controller.item]]\nname = \"N\"\nhistory = true\n")
                    .arg(database)
                    .toUtf8());
    plant.close();
    set("444");
    // Modes mean nothing to root otherwise.
    ServerRun server({QStringLiteral("--plant"), plant.fileName()}, [] { prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); });
    TestClient client(server.SocketPath());
    client.PutValue(QStringLiteral("C"), QStringLiteral("N"), 2);
    WaitUntil([] { return false; }, 1'500);
    EXPECT_EQ(client.Value(QStringLiteral("C"), QStringLiteral("N")), Variant(2));
    set("644");
    WaitUntil([] { return false; }, 3'000); // it tries every second or so
    server.Process().terminate();
    QStringList log; // without the times
    for (const QString& line : server.LogUntilEnd().split(u'\n', Qt::SkipEmptyParts)) log.append(line.mid(24));
    EXPECT_EQ(log.mid(1),
              QStringList({QStringLiteral("error: History destination 1: Values wait, at most 200000: attempt to write "
                                          "a readonly database"),
                           QStringLiteral("info: History destination 1: Values are written again; 0 were dropped "
                                          "meanwhile."),
                           QStringLiteral("info: The server ends: It was told to end.")}));
    EXPECT_EQ(AskedHistory(settings).Ask(QStringLiteral("SELECT item_value FROM velsql_history")),
              QStringList({QStringLiteral("item_value"), QStringLiteral("1"), QStringLiteral("2")}));
}

TEST(Robustness, ItEndsInTimeWhateverRuns)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const auto endless = client.Query(s_Endless);
    WaitUntil([] { return false; }, 200);
    QElapsedTimer time;
    time.start();
    server.Process().terminate();
    EXPECT_EQ(server.ExitCode(), 0);
    EXPECT_LT(time.elapsed(), 8'000);
}
