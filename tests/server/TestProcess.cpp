#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

TEST(Process, AnswersWhileACommandSleeps)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    auto sleeping = client.Engine.executeRequest();
    sleeping.setCommand(WireBytes(QStringLiteral("sleep 400")));
    QElapsedTimer time;
    time.start();
    auto slept = sleeping.send();
    client.Wait(client.Library.pingRequest().send());
    EXPECT_LT(time.elapsed(), 300);
    client.Wait(kj::mv(slept));
    EXPECT_GE(time.elapsed(), 400);
}

TEST(Process, DescriptionsArriveUnchanged)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    for (const QString& text :
         {QStringLiteral("plain"), QString(), QStringLiteral("two\r\nlines"), QStringLiteral("Grüße ✓")})
        EXPECT_EQ(FailureOf([&] { client.Execute(QStringLiteral("fail ") + text); }), text);
    EXPECT_EQ(FailureOf([&] { client.Controller(QStringLiteral("PLC9")); }),
              QStringLiteral("Controller \"PLC9\" does not exist."));
}

TEST(Process, OneServerAtASocket)
{
    ServerRun first;
    ServerRun second(first, {});
    EXPECT_EQ(second.ExitCode(), 1);
    EXPECT_TRUE(second.LogUntilEnd().endsWith(
        QStringLiteral("error: A server is already running at %1.\n").arg(first.SocketPath())));
    first.Process().terminate();
    EXPECT_EQ(first.ExitCode(), 0);
    EXPECT_FALSE(QFile::exists(first.SocketPath()));
}

TEST(Process, TheSocketsFolderMustBeTheUsersOwn)
{
    const QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
    ServerRun server({QStringLiteral("--socket"), folder.filePath(QStringLiteral("s"))});
    EXPECT_EQ(server.ExitCode(), 1);
    EXPECT_TRUE(server.LogUntilEnd().endsWith(
        QStringLiteral("error: The folder %1 is not one that only this user may write to.\n").arg(folder.path())));
}

TEST(Process, RunsAsItsServiceUnitSays)
{
    QFile file(QStringLiteral(VELSQL_DOCS "/../packaging/velsqlserver.service"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QMap<QString, QString> unit;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n'))
        unit.insert(line.section(u'=', 0, 0), line.section(u'=', 1));
    QStringList command = unit.value(QStringLiteral("ExecStart")).split(u' ');
    EXPECT_EQ(command.takeFirst().section(u'/', -1), QStringLiteral("velsqlserver"));

    ServerRun server(command + QStringList({QStringLiteral("--stop-when-idle"), QStringLiteral("0")}));
    EXPECT_FALSE(WaitUntil([&] { return server.Process().waitForFinished(0); }, 300)) << "it never ends by itself";
    TestClient client(server.SocketPath());
    const auto running = client.Query(QStringLiteral("SELECT 1"));
    client.Wait(client.Engine.snapshotRequest().send());
    const qint32 last = client.Value(QStringLiteral("PLC1"), QStringLiteral("Counter")).Get<qint32>();
    QElapsedTimer time;
    time.start();
    server.Process().terminate();
    EXPECT_EQ(server.ExitCode(), 0) << "no reason to start it again";
    EXPECT_LT(time.elapsed(), 1000 * unit.value(QStringLiteral("TimeoutStopSec")).toInt());

    const QString database = server.Folder() + QStringLiteral("/state/velsql/history.db");
    EXPECT_FALSE(QFile::exists(database + QStringLiteral("-wal"))) << "closed";
    HistorySettings settings;
    settings.Destinations[0].ConnectionString = QStringLiteral("Database=") + database;
    EXPECT_GE(AskedHistory(settings)
                  .Ask(QStringLiteral("SELECT max(item_value) FROM velsql_history WHERE item_name = 'Counter'"))[1]
                  .toInt(),
              last)
        << "the last value is written";
}

TEST(Process, MarksItsLinesForTheJournalOnly)
{
    const auto lineWith = [](const QString& stream) {
        QProcess process;
        process.start(QStringLiteral("sh"),
                      {QStringLiteral("-c"), QStringLiteral("JOURNAL_STREAM=%1 exec \"$0\" nonsense").arg(stream),
                       QStringLiteral(VELSQL_SERVER_PROGRAM)});
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardError());
    };
    const QString text = QStringLiteral("\"nonsense\" is no option; --help lists them.\n");
    EXPECT_EQ(lineWith(QStringLiteral("$(stat -L -c %d:%i /proc/self/fd/2)")), QStringLiteral("<3>") + text);
    EXPECT_EQ(lineWith(QStringLiteral("1:2")).mid(24), QStringLiteral("error: ") + text) << "somebody else's journal";
}

TEST(Process, EndsWhenItsLastClientHasGone)
{
    ServerRun server({QStringLiteral("--stop-when-idle"), QStringLiteral("1")});
    {
        TestClient one(server.SocketPath());
        {
            TestClient two(server.SocketPath());
            two.Wait(two.Engine.startRequest().send());
        }
        EXPECT_FALSE(WaitUntil([&] { return server.Process().waitForFinished(0); }, 1'500));
    }
    EXPECT_FALSE(WaitUntil([&] { return server.Process().waitForFinished(0); }, 1'500)) << "an operator has started it";
    {
        TestClient three(server.SocketPath());
        three.Wait(three.Engine.stopRequest().send());
    }
    EXPECT_EQ(server.ExitCode(), 0);
}
