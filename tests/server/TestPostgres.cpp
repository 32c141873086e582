#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"
#include "tests/support/PostgresRun.h"

#include <gtest/gtest.h>

namespace {

/// A PostgreSQL of the test's own, empty at first. One that is not installed or does not start is a failure, never a reason to skip.
class PostgresTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Database.IsRunning()) << m_Database.Problem().toStdString(); }

    HistorySettings Settings(qint32 maxRecord = 0, const QString& user = QStringLiteral("test")) const
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = m_Database.ConnectionString(user);
        settings.Destinations[0].MaxRecord = maxRecord;
        return settings;
    }

    PostgresRun m_Database;
};

const QString s_Average =
    QStringLiteral("SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY controller_name, item_name");

} // namespace

TEST_F(PostgresTest, PresetsGiveSensibleResults)
{
    AskedHistory history(Settings());
    history.Record(QStringLiteral("A"), 0);
    history.Record(QStringLiteral("A"), 3.5);
    history.Record(QStringLiteral("B"), QStringLiteral("it's \\ \"text\" with \u2713") + QChar(u'\0'));
    history.Record(QStringLiteral("A"), true);
    history.Record(QStringLiteral("B"), Null{});
    ASSERT_TRUE(history.Flush(10'000));
    const QStringList columns(QStringLiteral("controller_name,item_name,item_value,item_time"));
    const QStringList rows = {
        QStringLiteral("PLC1,A,0,2024-01-31 00:00:00"), QStringLiteral("PLC1,A,3.5,2024-01-31 00:00:00"),
        QStringLiteral("PLC1,B,it's \\ \"text\" with \u2713\uFFFD,2024-01-31 00:00:00"),
        QStringLiteral("PLC1,A,1,2024-01-31 00:00:00"), QStringLiteral("PLC1,B,NULL,2024-01-31 00:00:00")};
    const QStringList backwards(rows.rbegin(), rows.rend());
    const std::pair<QString, QStringList> presets[] = {
        {QStringLiteral("SELECT * FROM velsql_history"), columns + rows},
        {QStringLiteral("SELECT * FROM velsql_history WHERE item_value = '0'"), columns + rows.mid(0, 1)},
        {QStringLiteral("SELECT COUNT(*) AS item_count FROM velsql_history GROUP BY controller_name, item_name"),
         {QStringLiteral("item_count"), QStringLiteral("2"), QStringLiteral("3")}},
        {s_Average, {QStringLiteral("item_average"), QStringLiteral("1.5"), QStringLiteral("NULL")}},
        {QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time ASC"), columns + rows},
        {QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time DESC"), columns + backwards},
    };
    for (const auto& [statement, outcome] : presets) {
        QStringList answer = history.Ask(statement);
        if (statement.contains(u"GROUP BY")) std::sort(answer.begin() + 1, answer.end()); // the groups have no order
        EXPECT_EQ(answer, outcome) << statement.toStdString();
    }
    EXPECT_TRUE(history.Ask(QStringLiteral("SELECT nothing"))[0].startsWith(
        QStringLiteral("ERROR:  column \"nothing\" does not exist")));
}

TEST_F(PostgresTest, AUserWhoMayCreateNothingRecordsIntoATableThatIsThere)
{
    {
        AskedHistory owner(Settings());
        owner.Record(QStringLiteral("A"), 0);
        ASSERT_TRUE(owner.Flush(10'000)) << "now everything is made";
        owner.Ask(QStringLiteral("CREATE ROLE clerk LOGIN"));
        owner.Ask(QStringLiteral("DROP AGGREGATE avg(text)"));
        owner.Ask(QStringLiteral("DELETE FROM velsql_history"));
        owner.Ask(QStringLiteral("GRANT SELECT, INSERT, DELETE ON velsql_history TO clerk"));
    }
    AskedHistory clerk(Settings(2, QStringLiteral("clerk")));
    for (int i = 0; i < 5; ++i) clerk.Record(QStringLiteral("A"), i);
    EXPECT_TRUE(clerk.Flush(10'000));
    EXPECT_EQ(clerk.Ask(QStringLiteral("SELECT item_value FROM velsql_history ORDER BY item_time")),
              QStringList({QStringLiteral("item_value"), QStringLiteral("3"), QStringLiteral("4")}));
    EXPECT_TRUE(clerk.Ask(s_Average)[0].startsWith(QStringLiteral("ERROR:  function avg(text) does not exist")))
        << "its own error";
}

TEST_F(PostgresTest, WhatCouldNotBeWrittenIsCaughtUpWithAndTheOldestGo)
{
    AskedHistory history(Settings(2000));
    m_Database.Stop();
    for (int i = 0; i < 3000; ++i) history.Record(QStringLiteral("C"), i);
    EXPECT_FALSE(history.Flush(300));
    EXPECT_TRUE(history.Ask(QStringLiteral("SELECT 1"))[0].contains(QStringLiteral("cannot be opened")));
    m_Database.Start();
    ASSERT_TRUE(history.Flush(20'000));
    EXPECT_EQ(history.Ask(
                  QStringLiteral("SELECT count(*), min(item_value::int), max(item_value::int) FROM velsql_history"))[1],
              QStringLiteral("2000,1000,2999"));
}

TEST_F(PostgresTest, StoppedInTheMiddleOfRecordingItLosesNothing)
{
    const QTemporaryDir folder;
    QFile plant(folder.filePath(QStringLiteral("plant.toml")));
    ASSERT_TRUE(plant.open(QIODevice::WriteOnly));
    plant.write(QStringLiteral("[[history.destination]]\nconnection = \"%1\"\n"
                               "[[controller]]\nname = \"C\"\nscan_times = [5, 0, 0]\n"
                               "[[controller.item]]\nname = \"N\"\ntype = \"I4\"\nhistory = true\n"
                               "signal = { form = \"counter\" }\n")
                    .arg(m_Database.ConnectionString())
                    .toUtf8());
    plant.close();
    ServerRun server({QStringLiteral("--plant"), plant.fileName()});
    TestClient client(server.SocketPath());
    const auto countTo = [&](int number) {
        return WaitUntil(
            [&] { return client.Value(QStringLiteral("C"), QStringLiteral("N")).Get<qint32>() >= number; });
    };
    EXPECT_TRUE(countTo(60));
    m_Database.Stop();
    EXPECT_TRUE(countTo(300)) << "the plant lives on";
    m_Database.Start();
    EXPECT_TRUE(countTo(600)) << "long enough to notice";
    server.Process().terminate(); // while the last ones wait for their batch
    EXPECT_EQ(server.ExitCode(), 0);

    QStringList log; // without the times
    for (const QString& line : server.LogUntilEnd().split(u'\n', Qt::SkipEmptyParts)) log.append(line.mid(24));
    const QString waits = QStringLiteral("error: History destination 1: Values wait, at most 200000: ");
    EXPECT_FALSE(log.filter(waits).isEmpty());
    EXPECT_EQ(QStringList(log).removeDuplicates(), 0) << "each reason once";
    log.removeIf([&](const QString& line) { return line.startsWith(waits); });
    EXPECT_EQ(log.mid(1), QStringList({QStringLiteral("info: History destination 1: Values are written again; 0 were "
                                                      "dropped meanwhile."),
                                       QStringLiteral("info: The server ends: It was told to end.")}));
    EXPECT_EQ(AskedHistory(Settings())
                  .Ask(QStringLiteral(
                      "SELECT count(*) - max(item_value::int), count(DISTINCT item_value) - count(*), min(item_value), "
                      "max(item_value::int) >= 600 FROM velsql_history"))[1],
              QStringLiteral("1,0,0,True"))
        << "none is missing, none came twice";
}

TEST_F(PostgresTest, AStatementEndsWithWhoWaitsForIt)
{
    AskedHistory history(Settings());
    const QString running = QStringLiteral(
        "SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE 'SELECT pg_sleep%'");
    {
        const auto sleeping = history.Start(QStringLiteral("SELECT pg_sleep(60)"));
        EXPECT_TRUE(WaitUntil([&] { return history.Ask(running)[1] == QStringLiteral("1"); }));
    }
    for (int i = 0; i < 20; ++i) { // also when it is just about to begin
        const auto sleeping = history.Start(QStringLiteral("SELECT pg_sleep(60)"));
        WaitUntil([] { return false; }, i);
    }
    WaitUntil([] { return false; }, 100);
    EXPECT_TRUE(WaitUntil([&] { return history.Ask(running)[1] == QStringLiteral("0"); }));
}
