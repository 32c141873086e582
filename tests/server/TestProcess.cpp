#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"

#include <sys/stat.h>

TEST(Process, OneServerAtASocketInAFolderOfTheUsersOwn)
{
    {
        ServerRun first;
        EXPECT_EQ(EndOfServer({u"--socket"_s, first.SocketPath()}),
                  QStringList({u"1"_s, u"error: A server is already running at %1."_s.arg(first.SocketPath())}));
        EXPECT_EQ(first.Terminate(), 0);
        EXPECT_FALSE(QFile::exists(first.SocketPath()));
    }
    const QTemporaryDir own, open;
    const QString notes = own.filePath(u"notes"_s);
    WriteFile(notes, "precious");
    EXPECT_EQ(EndOfServer({u"--socket"_s, notes})[1], u"error: %1 exists and is not a socket."_s.arg(notes));
    EXPECT_EQ(ContentOf(notes), u"precious");
    QFile::setPermissions(open.path(), QFile::Permissions(0x7777));
    EXPECT_EQ(EndOfServer({u"--socket"_s, open.filePath(u"s"_s)})[1],
              u"error: The folder %1 is not one that only this user may write to."_s.arg(open.path()));
}

TEST(Process, RunsAsItsServiceUnitSays)
{
    const QString unit = ContentOf(QStringLiteral(VELSQL_DOCS "/../packaging/velsqlserver.service.in"));
    const QString command = unit.section(u"\nExecStart="_s, 1).section(u'\n', 0, 0);
    EXPECT_EQ(command.section(u' ', 0, 0), u"@VELSQL_PROGRAM@");

    ServerRun server(command.split(u' ').mid(1) + QStringList({u"--stop-when-idle"_s, u"0"_s}));
    EXPECT_FALSE(WaitUntil([&] { return server.HasEnded(); }, 300)) << "it never ends by itself";
    TestClient client(server.SocketPath());
    const auto endless = client.Query(EndlessQuery);
    Pause(200);
    Wait(client.Engine().snapshotRequest().send());
    const qint32 last = client.Value(u"Counter"_s).Get<qint32>();
    EXPECT_EQ(server.Terminate(), 0) << "no reason to start it again";

    const HistorySettings history = DefaultHistorySettings();
    const QString database = history.Destinations[0].ConnectionString.section(u"Database="_s, 1);
    EXPECT_TRUE(QFile::exists(database) && !QFile::exists(database + u"-wal"_s)) << "closed";
    const QString written = u"SELECT max(item_value) FROM velsql_history WHERE item_name = 'Counter'"_s;
    EXPECT_GE(AskedHistory(history).Ask(written).section(u'\n', 1).toInt(), last) << "the last value is written";
}

TEST(Process, EndsWhenItsLastClientHasGone)
{
    ServerRun server({u"--stop-when-idle"_s, u"2"_s});
    const auto ends = [&] { return WaitUntil([&] { return server.HasEnded(); }, 2'500); };
    {
        TestClient one(server.SocketPath());
        Wait(TestClient(server.SocketPath()).Engine().startRequest().send());
        EXPECT_FALSE(ends());
    }
    EXPECT_FALSE(ends()) << "an operator has started it";
    Wait(TestClient(server.SocketPath()).Engine().stopRequest().send());
    EXPECT_TRUE(WaitUntil([&] { return server.HasEnded(); }));
    EXPECT_EQ(server.Process().exitCode(), 0);
}

TEST(Process, AnswersPingsWhileItReadsItsPlant)
{
    RealServer server;
    const QTemporaryDir folder;
    const QString plant = folder.filePath(u"plant.toml"_s);
    ASSERT_EQ(mkfifo(qPrintable(plant), 0600), 0) << "a file that is read for as long as the test wants";
    const auto start = [&] {
        server.Process().start(RealServer::Program(), {u"--socket"_s, server.SocketPath(), u"--plant"_s, plant});
        return WaitUntil([&] { return QFile::exists(server.SocketPath()); });
    };
    const auto reason = [](TestClient& client) {
        const auto answer = Wait(client.Library().pingRequest().send());
        return std::pair(QString::fromUtf8(answer.getWaitsFor().cStr()), answer.getCallsUnderWay());
    };
    ASSERT_TRUE(start());
    {
        TestClient client(server.SocketPath());
        auto value = client.Item(u"Level"_s).getValueRequest().send();
        EXPECT_EQ(reason(client), std::pair(u"The VelSQL server is reading its plant."_s, 4)) << "the calls wait";
        WriteFile(plant, "[[controller]]\nname = 'PLC1'\n[[controller.item]]\nname = 'Level'\nvalue = 7\n");
        EXPECT_EQ(client.Read(Wait(kj::mv(value)).getResult()), Variant(7));
        EXPECT_EQ(reason(client), std::pair(QString(), 0));
    }
    EXPECT_EQ(server.Terminate(), 0);
    ASSERT_TRUE(start());
    const TestClient client(server.SocketPath());
    EXPECT_EQ(server.Terminate(), 0) << "it ends also while the file cannot be read";
}
