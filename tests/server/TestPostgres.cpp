#include "tests/server/AskedHistory.h"
#include "tests/server/PostgresRun.h"

#include <gtest/gtest.h>

namespace {

HistorySettings SettingsOf(const PostgresRun& database, qint32 maxRecord)
{
    HistorySettings settings;
    settings.Destinations[0].ConnectionString = database.ConnectionString();
    settings.Destinations[0].MaxRecord = maxRecord;
    return settings;
}

} // namespace

TEST(Postgres, RecordsAnswersThePresetsAndSurvivesItsEnd)
{
    PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    AskedHistory history(SettingsOf(database, 2000));
    history.Record(QStringLiteral("A"), 0);
    history.Record(QStringLiteral("A"), 3.5);
    history.Record(QStringLiteral("B"), QStringLiteral("it's \\ \"text\" with \u2713") + QChar(u'\0'));
    ASSERT_TRUE(history.Flush(10'000));
    using List = QStringList;
    EXPECT_EQ(history.Ask(QStringLiteral("SELECT item_name FROM velsql_history WHERE item_value = '0'")),
              List({QStringLiteral("item_name"), QStringLiteral("A")}));
    EXPECT_EQ(history.Ask(QStringLiteral(
                  "SELECT COUNT(*) AS item_count FROM velsql_history GROUP BY controller_name, item_name ORDER BY 1")),
              List({QStringLiteral("item_count"), QStringLiteral("1"), QStringLiteral("2")}));
    EXPECT_EQ(history.Ask(QStringLiteral("SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY "
                                         "controller_name, item_name ORDER BY 1")),
              List({QStringLiteral("item_average"), QStringLiteral("1.75"), QStringLiteral("NULL")}));
    EXPECT_EQ(history.Ask(QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time DESC"))[1],
              QStringLiteral("PLC1,B,it's \\ \"text\" with \u2713\uFFFD,2024-01-31 00:00:00"));
    EXPECT_TRUE(history.Ask(QStringLiteral("SELECT nothing"))[0].startsWith(
        QStringLiteral("ERROR:  column \"nothing\" does not exist")));

    database.Stop();
    for (int i = 0; i < 3000; ++i) history.Record(QStringLiteral("C"), i);
    EXPECT_FALSE(history.Flush(300));
    EXPECT_TRUE(history.Ask(QStringLiteral("SELECT 1"))[0].contains(QStringLiteral("cannot be opened")));
    database.Start();
    ASSERT_TRUE(history.Flush(20'000));
    EXPECT_EQ(history.Ask(
                  QStringLiteral("SELECT count(*), min(item_value::int), max(item_value::int) FROM velsql_history"))[1],
              QStringLiteral("2000,1000,2999"))
        << "all came, and the newest were kept";
}

TEST(Postgres, AStatementEndsWithWhoWaitsForIt)
{
    PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    AskedHistory history(SettingsOf(database, 0));
    const QString running = QStringLiteral(
        "SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE 'SELECT pg_sleep%'");
    {
        const auto sleeping = history.Start(QStringLiteral("SELECT pg_sleep(60)"));
        EXPECT_TRUE(WaitUntil([&] { return history.Ask(running)[1] == QStringLiteral("1"); }));
    }
    EXPECT_TRUE(WaitUntil([&] { return history.Ask(running)[1] == QStringLiteral("0"); }));
}
