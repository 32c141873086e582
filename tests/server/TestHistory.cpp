#include "tests/server/AskedHistory.h"
#include "tests/server/DocTables.h"

#include <gtest/gtest.h>
#include <QTemporaryDir>

namespace {

/// An SQLite file of the test's own, which is not there at first.
class HistoryTest : public ::testing::Test
{
protected:
    QTemporaryDir m_Folder;
    QString m_Path = m_Folder.filePath(u"sub/history.db"_s);
    QString m_Connection = u"Driver=SQLite;Database="_s + m_Path;
    HistorySettings m_Settings = RecordingInto(m_Connection);
};

const QString s_Values = u"SELECT item_value FROM velsql_history"_s;
const QString s_Range =
    u"SELECT format('%d %d %d', count(*), min(item_value), max(item_value)) AS range FROM velsql_history"_s;

} // namespace

TEST_F(HistoryTest, PresetsGiveSensibleResults)
{
    AskedHistory history(m_Settings);
    history.Record(u"A"_s, 0);
    history.Record(u"A"_s, 3.5);
    history.Record(u"B"_s, true);
    history.Record(u"C"_s, u"it's, \"t\""_s);
    history.Record(u"C"_s, SafeArray(QList<qint16>({1, 2})));
    ASSERT_TRUE(history.Flush());
    const QString columns = u"controller_name,item_name,item_value,item_time\n"_s;
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history ORDER BY item_time ASC"_s),
              columns + u"PLC1,A,0,2024-01-31 00:00:00.001500\nPLC1,A,3.5,2024-01-31 00:00:00.003000\n"
                        "PLC1,B,1,2024-01-31 00:00:00.004500\nPLC1,C,it's, \"t\",2024-01-31 00:00:00.006000\n"
                        "PLC1,C,1,2,2024-01-31 00:00:00.007500"_s);
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history WHERE item_value = '0'"_s),
              columns + u"PLC1,A,0,2024-01-31 00:00:00.001500"_s);
    EXPECT_EQ(history.Ask(u"SELECT COUNT(*), AVG(item_value) FROM velsql_history GROUP BY item_name"_s),
              u"COUNT(*),AVG(item_value)\n2,1.75\n1,1\n2,0.5");
}

TEST_F(HistoryTest, SaysWhatTheDatabaseSaysOrWhatIsWrongWhereThatSaysNothing)
{
    AskedHistory history(m_Settings);
    EXPECT_EQ(history.FirstOf(QString(QChar(u'\0'))), u"The statement is empty.");
    for (const QStringList& row : TableBelow(u"What SQLite answers"_s))
        EXPECT_EQ(history.FirstOf(Codes(row[0])[0]), Codes(row[1])[0]) << row[0].toStdString();
    EXPECT_EQ(history.Ask(u"SELECT 1 AS a, 'x' AS a, NULL AS b"_s), u"a,a,b\n1,x,NULL");
    const ResultProgress broken =
        history.Run(u"SELECT abs(i) FROM (SELECT 5 AS i UNION ALL SELECT -9223372036854775808)"_s)->Progress();
    EXPECT_EQ(broken.RowsSoFar, 1) << "the rows before the failure";
    EXPECT_EQ(broken.Failure, u"integer overflow");
}

TEST_F(HistoryTest, KeepsTheNewest)
{
    AskedHistory history(RecordingInto(m_Connection, 10));
    for (int i = 0; i < 2500; ++i) history.Record(u"A"_s, i);
    ASSERT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(s_Range), u"range\n10 2490 2499");
}

TEST_F(HistoryTest, CatchesUpWhenItsDatabaseIsBack)
{
    QDir().mkpath(m_Path); // a folder where the file should be
    AskedHistory history(m_Settings);
    constexpr int count = 300'000; // more than wait in memory
    for (int i = 0; i < count; ++i) history.Record(u"A"_s, i);
    EXPECT_FALSE(history.Flush(300));
    EXPECT_TRUE(history.Ask(s_Values).startsWith(u"The history database \"%1\" cannot be opened: "_s.arg(m_Path)));
    QDir().rmdir(m_Path);
    EXPECT_TRUE(history.Flush(60'000));
    EXPECT_EQ(history.Ask(s_Range), u"range\n%1 0 %2"_s.arg(count).arg(count - 1));
    QFile::remove(m_Path); // and away while it is open
    history.Record(u"A"_s, 3);
    EXPECT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(s_Range), u"range\n%1 0 %2"_s.arg(count + 1).arg(count - 1)) << "the partitions are there";
}

TEST_F(HistoryTest, TwoDestinationsOrNoneAreRecordedInto)
{
    m_Settings.Destinations[1].ConnectionString = u"Database="_s + m_Folder.filePath(u"second.db"_s);
    m_Settings.Destinations[1].TableName = u"mi\"ne %2"_s;
    for (const bool enabled : {false, true}) {
        m_Settings.Enabled = enabled;
        AskedHistory history(m_Settings);
        history.Record(u"A"_s, enabled);
        EXPECT_TRUE(history.Flush());
        EXPECT_EQ(history.Ask(u"SELECT 7"_s), u"7\n7") << "asked all the same";
    }
    EXPECT_EQ(AskedHistory(m_Settings).Ask(s_Values), u"item_value\n1");
    std::swap(m_Settings.Destinations[0], m_Settings.Destinations[1]); // the first one is asked
    EXPECT_EQ(AskedHistory(m_Settings).Ask(u"SELECT item_value FROM \"mi\"\"ne %2\""_s), u"item_value\n1");
}

TEST_F(HistoryTest, ResultsAreReadInPages)
{
    AskedHistory history(m_Settings);
    const auto result = history.Run(u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT 100000) "
                                    "SELECT i, 'text ' || i FROM n"_s);
    EXPECT_EQ(result->Progress().RowsSoFar, 100'000);
    for (const qint64 row : {0, 1, 4095, 50'000, 99'999})
        EXPECT_EQ(AskedHistory::Row(*result, row), u"%1,text %1"_s.arg(row));
    EXPECT_LT(result->PageOf(50'000).size(), 2u * ResultSpool::PageBytes);
    EXPECT_EQ(OutcomeOf([&] { result->PageOf(100'000); }), u"The result has 100000 rows.");
    EXPECT_GT(history.Run(u"SELECT zeroblob(3000000)"_s)->PageOf(0).size(), 3'000'000u) << "one row at least";
}

TEST_F(HistoryTest, AStatementTakesNoMoreThanItMay)
{
    const QString endless = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n"_s;
    using namespace std::chrono_literals;
    m_Settings.Limits = {.UntilFirstPage = 100ms, .ResultBytes = 3 * 1024 * 1024};
    EXPECT_EQ(AskedHistory(m_Settings).Ask(EndlessQuery),
              u"The statement has shown no rows after 0.1 s (statement_timeout).");
    const ResultSpoolRef bounded = AskedHistory(m_Settings).Run(endless);
    EXPECT_EQ(bounded->Progress().Failure, u"The result is larger than 3.0 MB, where reading it ends.");
    const qint64 count = bounded->Progress().RowsSoFar;
    EXPECT_EQ(AskedHistory::Row(*bounded, count - 1), QString::number(count)) << "what was read stays";
    m_Settings.Limits = {.RestAfter = 100ms, .EndAfter = 300ms};
    EXPECT_EQ(AskedHistory(m_Settings).Run(endless)->Progress().Failure,
              u"Nobody has asked for more of the result for 0.3 s.");
}

TEST_F(HistoryTest, ItsFilesAreItsUsersAlone)
{
    qputenv("XDG_STATE_HOME", QFile::encodeName(m_Folder.path()));
    const QString own = m_Folder.filePath(u"velsql/history.db"_s); // as an earlier version left it
    ASSERT_TRUE(QDir().mkpath(QFileInfo(own).path()) && QFile(own).open(QIODevice::WriteOnly));
    ASSERT_NE(QFile::permissions(own).toInt() & 0x077, 0);
    for (const auto& [settings, path] : {std::pair(m_Settings, m_Path), {DefaultHistorySettings(), own}}) {
        AskedHistory history(settings);
        history.Record(u"A"_s, 1);
        EXPECT_TRUE(history.Flush());
        for (const QString& file : {path, path + u"-wal"_s, path + u"-shm"_s, QFileInfo(path).path()})
            EXPECT_EQ(QFile::permissions(file).toInt() & 0x077, 0) << file.toStdString();
    }
}

TEST(ConnectionString, IsReadInItsUsualFormsAndRefusedWithoutAnyPartOfIt)
{
    const auto read = [](const QString& text) {
        return OutcomeOf([&] {
            const DatabaseAddress address(text);
            return (address.IsPostgreSql() ? u"PostgreSQL "_s : u"SQLite "_s) + address.Database() + u' ' +
                   address.Shown();
        });
    };
    EXPECT_EQ(read(u"Database=/tmp/a b.db"_s), u"SQLite /tmp/a b.db Database=/tmp/a b.db");
    EXPECT_EQ(read(u" driver = {PostgreSQL Unicode} ; SERVER=h;Port=5433;Database=d;uid=u;PWD={se;cr}};et} "_s),
              u"PostgreSQL d driver = {PostgreSQL Unicode} ;SERVER=h;Port=5433;Database=d;uid=u;PWD=***;");
    EXPECT_EQ(read({}), u"The connection string names no database.");
    for (const QStringList& row : TableBelow(u"Wrong connection strings"_s))
        EXPECT_EQ(read(Codes(row[0])[0]), Codes(row[1])[0]);
}
