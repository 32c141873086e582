#include "server/database/LibraryConnection.h"
#include "server/postgreshistory/PostgresTable.h"
#include "tests/server/AskedHistory.h"
#include "tests/server/DocTables.h"
#include "tests/support/PostgresRun.h"

#include <future>
#include <libpq-fe.h>

namespace {

/// A PostgreSQL of the test's own, empty at first. One that is not installed or does not start is a failure, never a
/// reason to skip.
class PostgresTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Database.IsRunning()) << m_Database.Problem().toStdString(); }

    PostgresRun m_Database;
    HistorySettings m_Settings = RecordingInto(m_Database.ConnectionString());
};

const QString s_Average = u"SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY item_name ORDER BY 1"_s;

} // namespace

TEST_F(PostgresTest, KeepsWhatValuesSayAndAveragesTheNumbersAmongThem)
{
    AskedHistory history(m_Settings);
    for (const Variant& value : {Variant(0), Variant(3.5), Variant(true)}) history.Record(u"A"_s, value);
    history.Record(u"B"_s, u"it's \\ \"text\" with \u2713"_s + QChar(u'\0'));
    history.Record(u"B"_s, Null{});
    ASSERT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history"_s).remove(u",2024-01-31 00:00:00"_s),
              u"controller_name,item_name,item_value,item_time\nPLC1,A,0\nPLC1,A,3.5\nPLC1,A,1\n"
              "PLC1,B,it's \\ \"text\" with \u2713\uFFFD\nPLC1,B,NULL");
    EXPECT_EQ(history.Ask(s_Average), u"item_average\n1.5\nNULL");
    EXPECT_TRUE(history.Ask(u"SELECT nothing"_s).startsWith(u"ERROR:  column \"nothing\" does not exist"));
}

TEST_F(PostgresTest, StatementsAreAnsweredAsTheDocumentSays)
{
    AskedHistory history(m_Settings);
    history.Ask(u"ALTER ROLE test SET timezone = 'Asia/Kolkata'"_s);
    const QString localNoon =
        QDateTime(QDate(2024, 1, 31), QTime(12, 0), Qt::UTC).toLocalTime().toString(u"yyyy-MM-dd hh:mm:ss");
    EXPECT_EQ(history.FirstOf(u"SELECT timestamptz '2024-01-31 12:00:00.000001Z'"_s), u"7,%1.000001"_s.arg(localNoon));
    for (const QStringList& row : TableBelow(u"What PostgreSQL answers"_s))
        EXPECT_EQ(history.FirstOf(Codes(row[0])[0]), Codes(row[1])[0]) << row[0].toStdString();
}

TEST_F(PostgresTest, NoStatementKeepsItsThreadBusy)
{
    AskedHistory history(m_Settings);
    EXPECT_TRUE(history.Ask(u"COPY now (a)\nFrom -- x\n stdin;"_s).startsWith(u"COPY cannot read from"_s));
    const ResultSpoolRef second = history.Run(u"SELECT 1; SELECT 1/0"_s);
    EXPECT_EQ(second->Progress().Failure, u"ERROR:  division by zero\n(22012)") << "of what follows, too";
    history.Ask(u"CREATE ROLE crowd LOGIN CONNECTION LIMIT 1"_s); // which the statement itself takes
    m_Settings = RecordingInto(m_Database.ConnectionString(u"crowd"_s));
    m_Settings.Enabled = false;
    AskedHistory crowd(m_Settings);
    auto sleeping = crowd.Start(u"SELECT 1; SELECT pg_sleep(60)"_s);
    Pause(500);
    crowd.Break();
    EXPECT_EQ(OutcomeOf([&] { Wait(kj::mv(sleeping)); }), u"The statement was ended by a command.") << "at once";
    Pause(300);
    EXPECT_EQ(crowd.Statements().size(), 1) << "there is no place to tell the database";
    history.Ask(u"ALTER ROLE crowd CONNECTION LIMIT 2"_s);
    EXPECT_TRUE(WaitUntil([&] { return crowd.Statements().isEmpty(); })) << "its thread, too";
}

TEST_F(PostgresTest, AUserWhoMayCreateNothingRecordsIntoATableThatIsThereAndKeepsTheNewest)
{
    {
        HistorySettings idle = m_Settings;
        idle.Enabled = false;
        AskedHistory owner(idle);
        for (const QString& statement : {u"CREATE ROLE clerk LOGIN"_s,
                                         u"CREATE TABLE velsql_history (controller_name text, item_name text, "
                                         u"item_value text, item_time timestamp, "
                                         "UNIQUE (item_value) DEFERRABLE INITIALLY DEFERRED)"_s,
                                         u"GRANT SELECT, INSERT, DELETE ON velsql_history TO clerk"_s})
            owner.Ask(statement);
    }
    AskedHistory clerk(RecordingInto(m_Database.ConnectionString(u"clerk"_s), 3));
    QStringList kept;
    for (const QList<int>& values : {QList{1}, {1}, {2, 3}, {4, 5}}) { // the second one is refused when it is committed
        for (const int value : values) clerk.Record(u"A"_s, value);
        EXPECT_TRUE(clerk.Flush());
        kept << clerk.Ask(u"SELECT string_agg(item_value, '' ORDER BY item_time) AS n FROM velsql_history"_s);
    }
    EXPECT_EQ(kept, QStringList({u"n\n1"_s, u"n\n1"_s, u"n\n123"_s, u"n\n345"_s})) << "what is refused is no row";
    EXPECT_TRUE(clerk.Ask(s_Average).startsWith(u"ERROR:  function avg(text) does not exist")) << "its own error";
}

TEST_F(PostgresTest, LockedOrStoppedInTheMiddleOfRecordingItLosesNothing)
{
    const QTemporaryDir folder;
    const QString plant = folder.filePath(u"plant.toml"_s);
    WriteFile(plant, "[[history.destination]]\nconnection = \"" + m_Database.ConnectionString().toUtf8() +
                         "\"\n[[controller]]\nname = \"C\"\nscan_times = [5, 0, 0]\n[[controller.item]]\nname = \"N\"\n"
                         "type = \"I4\"\nhistory = true\nsignal = { form = \"counter\" }\n");
    ServerRun server({u"--plant"_s, plant});
    TestClient client(server.SocketPath());
    const auto countTo = [&](int number) {
        const auto hasCome = [&] {
            const Variant value = client.Value(u"N"_s, u"C"_s); // EMPTY before the first scan
            return value.GetIf<qint32>() && value.Get<qint32>() >= number;
        };
        return WaitUntil(hasCome, 60'000);
    };
    const QString waits = u"error: History destination 1: Values wait: "_s;
    const QString writes = u"info: History destination 1: Values are written again; 0 were dropped meanwhile."_s;
    EXPECT_TRUE(countTo(60));
    {
        const auto lock = client.Query(u"DO $$ BEGIN LOCK TABLE velsql_history; PERFORM pg_sleep(60); END $$"_s);
        const QString locked = waits + u"the database has not answered for 5 seconds."_s;
        EXPECT_TRUE(WaitUntil([&] { return server.Log().contains(locked); }, 60'000));
    }
    EXPECT_TRUE(WaitUntil([&] { return server.Log().contains(writes); }));
    m_Database.Stop();
    EXPECT_TRUE(WaitUntil([&] { return server.Log().filter(waits).size() > 1; }));
    EXPECT_TRUE(countTo(300)) << "the plant lives on";
    m_Database.Start();
    EXPECT_TRUE(WaitUntil([&] { return server.Log().count(writes) == 2; }));
    EXPECT_TRUE(countTo(600));
    EXPECT_EQ(server.Terminate(), 0) << "while the last ones wait for their batch";

    // The report of what is kept comes at the start, or later where the database is away then; and this machine may be
    // too busy.
    QStringList log = server.Log(), reasons = log.filter(waits);
    log.removeIf(
        [](const QString& line) { return line.startsWith(u"info: The history takes ") || line.contains(u"too busy"); });
    EXPECT_EQ(reasons.removeDuplicates(), 0) << "each reason once";
    EXPECT_EQ(log.size(), reasons.size() + 4)
        << log.join(u'\n').toStdString() << "\nand nothing else but that it listens, writes twice and ends";
    const QString sums = u"SELECT count(*) - max(item_value::int) AS a, count(DISTINCT item_value) - count(*) AS b, "
                         "min(item_value) AS c, max(item_value::int) >= 600 AS d FROM velsql_history"_s;
    EXPECT_EQ(AskedHistory(m_Settings).Ask(sums), u"a,b,c,d\n1,0,0,True") << "none is missing, none came twice";
}

// PostgreSQL's library tells of an end that comes right behind an answer as of a notice.
TEST_F(PostgresTest, NoticesAreNoLinesOfTheLog)
{
    const DatabaseSession session{DatabaseAddress(m_Database.ConnectionString())};
    const PQnoticeProcessor take = PQsetNoticeProcessor(LibraryConnection(session.Database()), nullptr, nullptr);
    testing::internal::CaptureStderr();
    take(nullptr, "FATAL:  terminating connection due to administrator command\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PostgresTest, WhatAKilledServersTransactionStillDoesIsWaitedFor)
{
    AskedHistory history(m_Settings);
    history.Record(u"A"_s, 1); // the tables are made
    ASSERT_TRUE(history.Flush());
    const DatabaseSession killed(DatabaseAddress(m_Database.ConnectionString()));
    for (const QString& sequence : {u"5"_s, u"9"_s}) { // added, then changed
        killed.Run(u"BEGIN; INSERT INTO velsql_positions VALUES (7, %1) ON CONFLICT (spool_id) "
                   "DO UPDATE SET sequence = excluded.sequence"_s.arg(sequence));
        auto written = std::async([&] { return PostgresTable(m_Settings.Destinations[0]).Written(7); });
        EXPECT_TRUE(WaitUntil([&] {
            return history.Ask(u"SELECT wait_event_type AS n FROM pg_stat_activity WHERE wait_event_type = 'Lock'"_s) ==
                   u"n\nLock"_s;
        }));
        killed.Run(u"COMMIT"_s);
        EXPECT_EQ(QString::number(written.get()), sequence);
    }
}

TEST_F(PostgresTest, AStatementEndsWithWhoWaitsForIt)
{
    AskedHistory history(m_Settings);
    const auto run = [&](const QString& count) {
        return history.Ask(u"SELECT count(*) AS n FROM pg_stat_activity "
                           "WHERE state = 'active' AND query LIKE 'SELECT pg_sleep%'"_s) == u"n\n"_s + count;
    };
    {
        const auto sleeping = history.Start(u"SELECT pg_sleep(60)"_s);
        EXPECT_TRUE(WaitUntil([&] { return run(u"1"_s); }));
    }
    for (int i = 0; i < 20; ++i) { // also when it is just about to begin
        const auto sleeping = history.Start(u"SELECT pg_sleep(60)"_s);
        Pause(i);
    }
    Pause(100);
    EXPECT_TRUE(WaitUntil([&] { return run(u"0"_s); }));
}
