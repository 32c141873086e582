#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"

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
