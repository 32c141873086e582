#include "core/automation/SafeArray.h"
#include "server/postgreshistory/Layout.h"
#include "server/postgreshistory/LocalTime.h"
#include "server/postgreshistory/PartitionCare.h"
#include "server/postgreshistory/PostgresRetention.h"
#include "server/postgreshistory/RowFeed.h"
#include "tests/server/AskedHistory.h"
#include "tests/support/PostgresRun.h"

#include <future>

namespace {

/// A history in PostgreSQL whose partitions the test looks after itself.
class PostgresLayoutTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Database.IsRunning()) << m_Database.Problem().toStdString(); }

    /// A server without recording, to ask.
    QString Ask(const QString& statement)
    {
        HistorySettings settings = m_Settings;
        settings.Enabled = false;
        return AskedHistory(settings).FirstOf(statement);
    }
    /// Values of two items, one each 0.9 s for an hour and a half from midnight on, some of them no numbers.
    void Record()
    {
        AskedHistory history(m_Settings);
        for (int i = 0; i < 6000; ++i) {
            const QString item = i % 3 == 0 ? u"A"_s : u"B"_s;
            history.Record(item, i % 7 == 0 ? Variant(u"text"_s) : Variant(i * 0.5), 899'000);
        }
        EXPECT_TRUE(history.Flush());
    }
    /// Sums that do not agree with the records, and how many there are.
    QString Disagreement(const QString& view = u"velsql_minutes"_s, const QString& length = u"60000000"_s)
    {
        const QString reckoned =
            u"(SELECT controller_name, item_name, item_utc / "_s + length + u" * "_s + length +
            u" AS start_utc, count(*) AS n, "
            "min(value_number) AS a, max(value_number) AS b, avg(value_number) AS m, "
            "(array_agg(value_number ORDER BY item_utc) FILTER (WHERE value_number IS NOT NULL))[1] AS f, "
            "(array_agg(value_number ORDER BY item_utc DESC) FILTER (WHERE value_number IS NOT NULL))[1] "
            "AS l FROM velsql_values WHERE item_utc IS NOT NULL GROUP BY 1, 2, 3) AS v"_s;
        return Ask(u"SELECT count(*) FILTER (WHERE n IS DISTINCT FROM value_count OR a IS DISTINCT FROM smallest OR "
                   "b IS DISTINCT FROM largest OR abs(m - mean_value) > 1e-9 OR f IS DISTINCT FROM first_value OR "
                   "l IS DISTINCT FROM last_value) || ' of ' || count(*) FROM "_s +
                   view + u" FULL JOIN "_s + reckoned + u" USING (controller_name, item_name, start_utc)"_s);
    }
    QString DisagreementOfHours() { return Disagreement(u"velsql_hours"_s, u"3600000000"_s); }

    PostgresRun m_Database;
    HistorySettings m_Settings = RecordingInto(m_Database.ConnectionString());
    WriteProgress m_Progress;
    const LayoutNames m_Names{u"velsql_history"_s};
};

const QDateTime s_Later(QDate(2024, 2, 2), QTime(0, 0));
const QString s_Parts = u"SELECT string_agg(relname, ' ' ORDER BY relname) FROM pg_class WHERE relname LIKE "
                        "'velsql_rows__2024%' AND relkind = 'r'"_s;

} // namespace

TEST_F(PostgresLayoutTest, PartitionsAreClosedMergedAndDroppedAndSumsAgreeWithWhatWasRecordedAndChanged)
{
    Record();
    EXPECT_EQ(Disagreement(), u"8,0 of 182") << "open";
    const QString openParts = Ask(s_Parts);
    EXPECT_TRUE(openParts.startsWith(u"8,velsql_rows_o20240131_0000 "_s)) << openParts.toStdString();
    const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
    EXPECT_EQ(RowFeed::Choose(session, u"velsql_rows"_s, true)->How(), RowFeed::Way::BinaryCopy);
    PartitionCare care(session, m_Names, m_Progress);
    EXPECT_TRUE(care.CloseNext(s_Later));
    EXPECT_EQ(Disagreement(), u"8,0 of 182") << "in part";
    while (care.CloseNext(s_Later)) {
    }
    EXPECT_EQ(Ask(s_Parts), QString(openParts).replace(u"_o"_s, u"_c"_s));
    EXPECT_FALSE(care.MergeNext()) << "the day is not over";
    const QString sum = Ask(u"SELECT sum(value_number) || ' ' || count(*) FROM velsql_values"_s);
    Ask(u"INSERT INTO velsql_history VALUES ('PLC1', 'A', '1', '2024-02-01 12:00')"_s); // where no partition is
    EXPECT_TRUE(care.TidyNext());
    while (care.CloseNext(s_Later.addDays(1))) {
    }
    while (care.KeepNextHours()) {
    }
    EXPECT_NE(Ask(u"SELECT count(*) FROM velsql_kept_hours"_s), u"3,0");
    EXPECT_EQ(DisagreementOfHours(), u"8,0 of 5");
    EXPECT_TRUE(care.MergeNext());
    EXPECT_EQ(Ask(u"SELECT sum(value_number) - 1 || ' ' || count(*) - 1 FROM velsql_values"_s), sum);
    EXPECT_TRUE(Ask(s_Parts).startsWith(u"8,velsql_rows_d20240131_0000 velsql_rows_d20240201_0000"_s))
        << Ask(s_Parts).toStdString();

    Ask(u"UPDATE velsql_history SET item_value = '-5' WHERE item_time < '2024-01-31 00:03' AND item_name = 'A'; "
        "DELETE FROM velsql_history WHERE item_time > '2024-01-31 01:20' AND item_name = 'B'; "
        "UPDATE velsql_history SET item_time = item_time + interval '1 hour' WHERE item_time < '2024-01-31 00:01'; "
        "INSERT INTO velsql_history VALUES ('PLC1', 'A', '1e2', '2024-01-31 23:00'), "
        "('PLC1', 'A', '1e999', '2024-01-31 23:00')"_s);
    while (care.SumUpChanged()) {
    }
    EXPECT_TRUE(Disagreement().startsWith(u"8,0 of "_s)) << Disagreement().toStdString();
    EXPECT_TRUE(DisagreementOfHours().startsWith(u"8,0 of "_s)) << DisagreementOfHours().toStdString();
    EXPECT_EQ(Ask(u"SELECT count(*) || ' ' || max(start_time) || ' ' || sum(value_count) FROM velsql_days "
                  "WHERE item_name = 'A'"_s)
                  .section(u' ', 0, 0),
              u"8,2");

    HistoryDestination byAge = m_Settings.Destinations[0], bySize = byAge;
    byAge.Keep = std::chrono::hours(24);
    bySize.MaxBytes = 100'000'000;
    care.TidyNext(); // lists them anew
    EXPECT_FALSE(PostgresRetention(session, m_Names, bySize).DropNext(care.All().All())) << "there is room";
    PostgresClock memory(session, m_Names);
    ClockTime later = ClockTime::Now();
    later.Shown += std::chrono::hours(48);
    ClockWatch::Begin(memory, later);
    EXPECT_FALSE(PostgresRetention(session, m_Names, byAge).DropNext(care.All().All())) << "for a day, whoever looks";
    memory.SetTrustedFrom(0);
    EXPECT_TRUE(PostgresRetention(session, m_Names, byAge).DropNext(care.All().All()));
    care.CloseNext(s_Later);
    bySize.MaxBytes = 1;
    EXPECT_EQ(Ask(u"SELECT count(*) || ' ' || (SELECT count(*) FROM velsql_minutes) FROM velsql_values"_s), u"8,1 1");
    EXPECT_TRUE(PostgresRetention(session, m_Names, bySize).DropNext(care.All().All()));
    EXPECT_EQ(Ask(u"SELECT count(*) FROM velsql_values"_s), u"3,0");
}

TEST_F(PostgresLayoutTest, WhoMovesRowsGivesWayToWhoWaitsForThem)
{
    Record();
    Ask(u"INSERT INTO velsql_history VALUES ('C', 'X', '1', '2023-05-05')"_s);
    HistorySettings idle = m_Settings;
    idle.Enabled = false;
    AskedHistory operators(idle);
    const DatabaseSession reader{DatabaseAddress(m_Database.ConnectionString())};
    reader.Run(u"BEGIN; LOCK TABLE velsql_rows IN ACCESS SHARE MODE"_s);
    auto moved = std::async([&] {
        const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
        return OutcomeOf([&] { PartitionCare(session, m_Names, m_Progress).TidyNext(); });
    });
    const QString waiting = u"SELECT count(*) FROM pg_locks WHERE NOT granted AND mode = 'AccessExclusiveLock'"_s;
    EXPECT_TRUE(WaitUntil([&] { return operators.FirstOf(waiting) != u"3,0"; }, 120'000))
        << "it has the row, but not the table";
    auto deleted = operators.Start(u"DELETE FROM velsql_history WHERE item_name = 'X'"_s);
    EXPECT_TRUE(
        WaitUntil([&] { return moved.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, 120'000));
    reader.Run(u"COMMIT"_s);
    EXPECT_TRUE(moved.get().contains(u"lock timeout"_s));
    EXPECT_EQ(Wait(kj::mv(deleted))->Progress().Affected, 1);
}

TEST_F(PostgresLayoutTest, WhatSomebodyDropsIsMadeAgainAndSummedUpAnew)
{
    Record();
    const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
    PartitionCare care(session, m_Names, m_Progress);
    const Layout layout(session, m_Names);
    for (const QString& statement :
         {u"DROP VIEW velsql_history"_s, u"DROP TABLE velsql_blocks CASCADE"_s, u"DROP TABLE velsql_closed CASCADE"_s,
          u"DROP TABLE velsql_rows_other CASCADE"_s, u"DROP FUNCTION velsql_utc CASCADE"_s}) {
        while (care.CloseNext(s_Later)) {
        }
        EXPECT_TRUE(layout.IsComplete());
        Ask(statement);
        EXPECT_FALSE(layout.IsComplete()) << statement.toStdString();
        layout.Make(layout.Find());
        EXPECT_EQ(Disagreement(), u"8,0 of 182") << statement.toStdString();
        EXPECT_EQ(Ask(u"SELECT count(*) FROM velsql_history"_s), u"3,6000");
    }
}

TEST_F(PostgresLayoutTest, EveryWayOfBringingRowsBringsTheSame)
{
    Record();
    const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
    const QString text = u"it's \\ \"text\"\t\n\r with \u2713"_s + QChar(u'\0');
    const TimeStamp before1970{std::chrono::microseconds(-1'500'001)};
    QStringList kept;
    for (const auto way : {RowFeed::Way::BinaryCopy, RowFeed::Way::Copy, RowFeed::Way::Arrays, RowFeed::Way::Values}) {
        const auto feed = RowFeed::Make(way, session, true);
        LocalTime clock;
        for (const bool isMeant : {false, true}) {
            feed->Begin(u"velsql_rows_other"_s);
            for (const Variant& value : {Variant(0.1 + 0.2), Variant(-1e300), Variant(7), Variant(true), Variant(text),
                                         Variant(u" 1e3"_s), Variant(u"1e999"_s), Variant(Date{1e9}),
                                         Variant(SafeArray(QList{Date{1e9}})), Variant(Null{}), Variant()}) {
                const RecordedValue recorded{text, u"A"_s, value, before1970, 1};
                feed->Add(PostgresRow(recorded, clock.Of(recorded.Time)));
            }
            isMeant ? feed->End() : feed->Abandon();
        }
        kept << Ask(u"SELECT count(*) || string_agg(r::text, ' ') FROM velsql_rows_other AS r"_s);
        Ask(u"DELETE FROM velsql_rows_other"_s);
    }
    EXPECT_EQ(kept, QStringList(4, kept[0]));
    EXPECT_TRUE(kept[0].startsWith(u"8,11("_s) && kept[0].contains(u"1969-12-31"_s)) << kept[0].toStdString();
}

TEST_F(PostgresLayoutTest, AnOldTableIsTakenOverWithAllItsRowsAndRights)
{
    Ask(u"CREATE ROLE analyst LOGIN; CREATE TABLE velsql_history (controller_name text, item_name text, item_value "
        u"text, "
        "item_time timestamp); GRANT SELECT ON velsql_history TO analyst; INSERT INTO velsql_history SELECT 'C', 'X', "
        "CASE WHEN i % 10 = 0 THEN 'text' ELSE i::text END, timestamp '2023-12-30 10:00' + i * interval '1 minute' "
        "FROM generate_series(1, 5000) AS i; INSERT INTO velsql_history VALUES ('C', 'never', '1', NULL)"_s);
    const QString rows = u"SELECT count(*) || ' ' || sum(hashtext(h::text)::bigint) FROM velsql_history AS h"_s;
    const QString before = Ask(rows);
    AskedHistory history(m_Settings);
    ASSERT_TRUE(history.Flush());
    EXPECT_TRUE(WaitUntil([&] { return history.FirstOf(u"SELECT count(*) FROM velsql_rows_other"_s) == u"3,1"; }));
    EXPECT_EQ(history.FirstOf(rows), before);
    EXPECT_EQ(Disagreement(), u"8,0 of 5000");
    EXPECT_EQ(history.FirstOf(u"SELECT string_agg(privilege_type, ',') FROM information_schema.role_table_grants WHERE "
                              "grantee = 'analyst' AND table_name = 'velsql_history'"_s),
              u"8,SELECT");
    EXPECT_EQ(history.FirstOf(u"SELECT count(*) FROM pg_inherits WHERE inhparent = 'velsql_rows'::regclass AND "
                              "inhrelid::regclass::text LIKE 'velsql_rows_d%'"_s),
              u"3,4")
        << "days";
}

TEST_F(PostgresLayoutTest, WhatComesWhileRowsAreMovedIntoPartitionsIsKept)
{
    AskedHistory(m_Settings).Flush();
    ASSERT_TRUE(WaitUntil([&] { return Ask(u"SELECT count(*) FROM velsql_closed"_s) == u"3,1"; }));
    const std::jthread writer([&] {
        const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
        for (int i = 0; i < 60; ++i)
            session.Run(u"INSERT INTO velsql_rows SELECT 'C', 'X', i, timestamp '2023-05-05' + i * interval '1 hour', "
                        "i, 1683237600000000 + i * 3600000000, 0 FROM generate_series(1, 1000) AS i"_s);
    });
    const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
    PartitionCare care(session, m_Names, m_Progress);
    const QString all = u"3,60000"_s;
    const QString count = u"SELECT count(*) FROM velsql_values"_s;
    EXPECT_TRUE(WaitUntil([&] { return !care.TidyNext() && Ask(count) == all; }, 120'000)) << Ask(count).toStdString();
    EXPECT_EQ(Ask(u"SELECT count(*) FROM velsql_rows_other"_s), u"3,0");
}

TEST_F(PostgresLayoutTest, ATableOfTheOwnersStaysAsItIs)
{
    for (const QString& mark : {u"CREATE INDEX mine ON velsql_history (item_time)"_s,
                                u"CREATE VIEW mine AS SELECT * FROM velsql_history"_s}) {
        Ask(u"DROP TABLE IF EXISTS velsql_history CASCADE; CREATE TABLE velsql_history (controller_name text, "
            "item_name text, item_value text, item_time timestamp); "_s +
            mark);
        AskedHistory history(m_Settings);
        history.Record(u"A"_s, u"tab\tand\\line\n"_s);
        ASSERT_TRUE(history.Flush());
        EXPECT_EQ(history.FirstOf(u"SELECT item_value || relkind::text FROM velsql_history, pg_class WHERE oid = "
                                  "'velsql_history'::regclass"_s),
                  u"8,tab\tand\\line\nr");
    }
}
