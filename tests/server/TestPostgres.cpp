#include "tests/server/AskedHistory.h"
#include "tests/server/ServerRun.h"
#include "tests/support/PostgresRun.h"

namespace {

/// A PostgreSQL of the test's own, empty at first. One that is not installed or does not start is a failure, never a reason to skip.
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
    history.Record(u"A"_s, 0);
    history.Record(u"A"_s, 3.5);
    history.Record(u"B"_s, u"it's \\ \"text\" with \u2713"_s + QChar(u'\0'));
    history.Record(u"A"_s, true);
    history.Record(u"B"_s, Null{});
    ASSERT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history"_s),
              QStringList({u"controller_name,item_name,item_value,item_time"_s, u"PLC1,A,0,2024-01-31 00:00:00"_s,
                           u"PLC1,A,3.5,2024-01-31 00:00:00"_s,
                           u"PLC1,B,it's \\ \"text\" with \u2713\uFFFD,2024-01-31 00:00:00"_s,
                           u"PLC1,A,1,2024-01-31 00:00:00"_s, u"PLC1,B,NULL,2024-01-31 00:00:00"_s}));
    EXPECT_EQ(history.Ask(s_Average), QStringList({u"item_average"_s, u"1.5"_s, u"NULL"_s}));
    EXPECT_TRUE(history.Ask(u"SELECT nothing"_s)[0].startsWith(u"ERROR:  column \"nothing\" does not exist"));
}

TEST_F(PostgresTest, ValuesAreHeldExactlyOrShownInTheDatabasesOwnWords)
{
    AskedHistory history(m_Settings);
    history.Ask(u"ALTER ROLE test SET timezone = 'Asia/Kolkata'"_s);
    const QString localNoon =
        QDateTime(QDate(2024, 1, 31), QTime(12, 0), Qt::UTC).toLocalTime().toString(u"yyyy-MM-dd hh:mm:ss");
    const std::pair<const char16_t*, QString> cases[] = {
        {u"timestamp '2024-01-31 12:00:00.123456'", u"7,2024-01-31 12:00:00.123456"_s},
        {u"timestamp '1850-01-31 12:00:00.5'", u"7,1850-01-31 12:00:00.500"_s},
        {u"timestamptz '2024-01-31 12:00:00.000001Z'", u"7,"_s + localNoon + u".000001"_s},
        {u"timestamp '2500-01-31 12:00:00.123456'", u"8,2500-01-31 12:00:00.123456"_s}, // too coarse there
        {u"date '10000-01-01'", u"8,10000-01-01"_s},
        {u"date '0044-03-15 BC'", u"8,0044-03-15 BC"_s},
        {u"timestamptz '-infinity'", u"8,-infinity"_s},
        {u"time '10:00:00.123456'", u"8,10:00:00.123456"_s},
        {u"timetz '10:00:00+02'", u"8,10:00:00+02"_s},
        {u"1234.5000", u"5,1234.5"_s},
        {u"100000000000000000000::numeric", u"5,1E+20"_s},
        {u"12345678901234567890.123456789", u"8,12345678901234567890.123456789"_s},
        {u"'NaN'::numeric", u"5,NaN"_s},
        {u"(-9223372036854775808)::int8", u"8,-9223372036854775808"_s},
        {u"'\\x0102'::bytea", u"8209,1,2"_s},
    };
    for (const auto& [expression, text] : cases) {
        const ResultSpoolRef result = history.Run(u"SELECT "_s + QString::fromUtf16(expression));
        EXPECT_EQ(WriteTypedText(AskedHistory::Cell(*result, 0, 0)), text)
            << QString::fromUtf16(expression).toStdString();
    }
}

TEST_F(PostgresTest, NoStatementKeepsItsThreadBusy)
{
    AskedHistory history(m_Settings);
    history.Ask(u"CREATE TABLE t (a text)"_s);
    const QStringList refused(
        u"COPY cannot read from or write to the client here: name a file of the database's machine, or "
        "use SELECT and INSERT."_s);
    const std::pair<QString, QStringList> cases[] = {
        {u"COPY t TO STDOUT"_s, refused},
        {u"/* a /* b */ */ copy t (a)\nFrom -- x\n stdin;"_s, refused},
        {u"SELECT $x$;$x$, E'\\'', 'a\\'; COPY (SELECT ')') TO STDOUT WITH CSV"_s, refused},
        {u"SELECT 'COPY t TO STDOUT' AS a /* ; COPY t TO STDOUT */"_s, {u"a"_s, u"COPY t TO STDOUT"_s}},
        {u"COPY t TO '/nowhere/x'"_s,
         {u"ERROR:  could not open file \"/nowhere/x\" for writing: No such file or directory\nHINT:  COPY TO "
          u"instructs the "
          "PostgreSQL server process to write a file. You may want a client-side facility such as psql's \\copy.\n(58P01)"_s}},
        {u";"_s, {u"The statement is empty."_s}},
        {u"INSERT INTO t VALUES ('x'); SELECT a FROM t; DELETE FROM t"_s, {u"a"_s, u"x"_s}},
    };
    for (const auto& [statement, answer] : cases) EXPECT_EQ(history.Ask(statement), answer) << statement.toStdString();
    const ResultSpoolRef second = history.Run(u"SELECT 1; SELECT 1/0"_s);
    EXPECT_EQ(second->Progress().Failure, u"ERROR:  division by zero\n(22012)") << "of what follows, too";
    history.Ask(u"CREATE ROLE crowd LOGIN CONNECTION LIMIT 1"_s); // which the statement itself takes
    HistorySettings crowded = RecordingInto(m_Database.ConnectionString(u"crowd"_s));
    crowded.Enabled = false;
    AskedHistory crowd(crowded);
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
        AskedHistory owner(m_Settings);
        owner.Record(u"A"_s, 0);
        ASSERT_TRUE(owner.Flush()) << "now everything is made";
        for (const QString& statement :
             {u"CREATE ROLE clerk LOGIN"_s, u"DROP AGGREGATE avg(text)"_s, u"DELETE FROM velsql_history"_s,
              u"ALTER TABLE velsql_history ADD UNIQUE (item_value) DEFERRABLE INITIALLY DEFERRED"_s,
              u"GRANT SELECT, INSERT, DELETE ON velsql_history TO clerk"_s})
            owner.Ask(statement);
    }
    AskedHistory clerk(RecordingInto(m_Database.ConnectionString(u"clerk"_s), 3));
    const auto kept = [&](std::initializer_list<int> values) {
        for (const int value : values) clerk.Record(u"A"_s, value);
        EXPECT_TRUE(clerk.Flush());
        return clerk.Ask(u"SELECT item_value FROM velsql_history ORDER BY item_time"_s).mid(1).join(u',');
    };
    EXPECT_EQ(kept({1}), u"1");
    EXPECT_EQ(kept({1}), u"1") << "refused when it is committed";
    EXPECT_EQ(kept({1}), u"1");
    EXPECT_EQ(kept({2, 3}), u"1,2,3") << "what was refused does not count as a row";
    EXPECT_EQ(kept({4, 5}), u"3,4,5");
    EXPECT_TRUE(clerk.Ask(s_Average)[0].startsWith(u"ERROR:  function avg(text) does not exist")) << "its own error";
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
        return WaitUntil([&] { return client.Value(u"N"_s, u"C"_s).Get<qint32>() >= number; }, 60'000);
    };
    const auto isSaid = [&](const QString& text) { return !server.Log().filter(text).isEmpty(); };
    const QString waits = u"error: History destination 1: Values wait, at most 200000: "_s;
    const QString writes = u"info: History destination 1: Values are written again; 0 were dropped meanwhile."_s;
    EXPECT_TRUE(countTo(60));
    {
        const auto lock = client.Query(u"DO $$ BEGIN LOCK TABLE velsql_history; PERFORM pg_sleep(60); END $$"_s);
        EXPECT_TRUE(
            WaitUntil([&] { return isSaid(waits + u"the database has not answered for 5 seconds."_s); }, 60'000));
    }
    EXPECT_TRUE(WaitUntil([&] { return isSaid(writes); }));
    m_Database.Stop();
    EXPECT_TRUE(WaitUntil([&] { return server.Log().filter(waits).size() > 1; }));
    EXPECT_TRUE(countTo(300)) << "the plant lives on";
    m_Database.Start();
    EXPECT_TRUE(WaitUntil([&] { return server.Log().count(writes) == 2; }));
    EXPECT_TRUE(countTo(600));
    EXPECT_EQ(server.Terminate(), 0) << "while the last ones wait for their batch";

    QStringList log = server.Log(), reasons = log.filter(waits);
    EXPECT_EQ(reasons.removeDuplicates(), 0) << "each reason once";
    EXPECT_EQ(log.size(), reasons.size() + 4) << "and nothing else but that it listens, writes twice and ends";
    EXPECT_EQ(AskedHistory(m_Settings)
                  .Ask(u"SELECT count(*) - max(item_value::int), count(DISTINCT item_value) - count(*), "
                       "min(item_value), max(item_value::int) >= 600 FROM velsql_history"_s)[1],
              u"1,0,0,True")
        << "none is missing, none came twice";
}

TEST_F(PostgresTest, AStatementEndsWithWhoWaitsForIt)
{
    AskedHistory history(m_Settings);
    const auto running = [&] {
        return history.Ask(u"SELECT count(*) FROM pg_stat_activity "
                           "WHERE state = 'active' AND query LIKE 'SELECT pg_sleep%'"_s)[1];
    };
    {
        const auto sleeping = history.Start(u"SELECT pg_sleep(60)"_s);
        EXPECT_TRUE(WaitUntil([&] { return running() == u"1"; }));
    }
    for (int i = 0; i < 20; ++i) { // also when it is just about to begin
        const auto sleeping = history.Start(u"SELECT pg_sleep(60)"_s);
        Pause(i);
    }
    Pause(100);
    EXPECT_TRUE(WaitUntil([&] { return running() == u"0"; }));
}
