#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

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
