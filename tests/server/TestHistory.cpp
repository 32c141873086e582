#include "tests/server/AskedHistory.h"

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
const QString s_Range = u"SELECT count(*), min(item_value), max(item_value) FROM velsql_history"_s;

} // namespace

TEST_F(HistoryTest, PresetsGiveSensibleResults)
{
    AskedHistory history(m_Settings);
    const std::pair<QString, Variant> values[] = {{u"A"_s, 0},
                                                  {u"A"_s, 3.5},
                                                  {u"B"_s, false},
                                                  {u"B"_s, true},
                                                  {u"C"_s, u"it's, \"t\""_s},
                                                  {u"C"_s, SafeArray(QList<qint16>({1, 2}))}};
    for (const auto& [item, value] : values) history.Record(item, value);
    ASSERT_TRUE(history.Flush());
    QStringList rows = {u"PLC1,A,0,2024-01-31 00:00:00.001500"_s,           u"PLC1,A,3.5,2024-01-31 00:00:00.003000"_s,
                        u"PLC1,B,0,2024-01-31 00:00:00.004500"_s,           u"PLC1,B,1,2024-01-31 00:00:00.006000"_s,
                        u"PLC1,C,it's, \"t\",2024-01-31 00:00:00.007500"_s, u"PLC1,C,1,2,2024-01-31 00:00:00.009000"_s};
    const QStringList columns(u"controller_name,item_name,item_value,item_time"_s);
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history ORDER BY item_time ASC"_s), columns + rows);
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history WHERE item_value = '0'"_s),
              columns + QStringList({rows[0], rows[2]}));
    std::reverse(rows.begin(), rows.end());
    EXPECT_EQ(history.Ask(u"SELECT * FROM velsql_history ORDER BY item_time DESC"_s), columns + rows);
    EXPECT_EQ(
        history.Ask(u"SELECT COUNT(*), AVG(item_value) FROM velsql_history GROUP BY controller_name, item_name"_s),
        QStringList({u"COUNT(*),AVG(item_value)"_s, u"2,1.75"_s, u"2,0.5"_s, u"2,0.5"_s}));
}

TEST_F(HistoryTest, SaysWhatTheDatabaseSaysOrWhatIsWrongWhereThatSaysNothing)
{
    AskedHistory history(m_Settings);
    const QStringList done(QString{}), empty(u"The statement is empty."_s);
    const std::pair<QString, QStringList> cases[] = {
        {u"SELECT * FROM nowhere"_s, {u"no such table: nowhere"_s}},
        {u"CREATE TABLE mine (a)"_s, done},
        {u"CREATE TRIGGER t AFTER INSERT ON mine BEGIN DELETE FROM mine; SELECT ';'; END; -- of several"_s, done},
        {u"SELECT 1 AS a, 'x' AS a, NULL AS b, 9000000000 AS c, -9007199254740993 AS d"_s,
         {u"a,a,b,c,d"_s, u"1,x,NULL,9000000000,-9007199254740993"_s}},
        {u"SELECT 1 AS a; /* done */ ; -- really"_s, {u"a"_s, u"1"_s}},
        {u"SELECT 1; SELECT 2"_s, {u"Unable to execute multiple statements at a time"_s}},
        {u"-- nothing\n/* at; all */;"_s, empty},
        {QString(QChar(u'\0')), empty},
    };
    for (const auto& [statement, answer] : cases) EXPECT_EQ(history.Ask(statement), answer) << statement.toStdString();
    const ResultProgress broken =
        history.Run(u"SELECT abs(i) FROM (SELECT 5 AS i UNION ALL SELECT -9223372036854775808)"_s)->Progress();
    EXPECT_EQ(broken.RowsSoFar, 1) << "the rows before the failure";
    EXPECT_EQ(broken.Failure, u"integer overflow");
}

TEST_F(HistoryTest, KeepsTheNewestAndSaysOnceWhyAValueIsRefused)
{
    AskedHistory history(RecordingInto(m_Connection, 10));
    for (int i = 0; i < 2500; ++i) history.Record(u"A"_s, i);
    ASSERT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(s_Range)[1], u"10,2490,2499");
    history.Ask(u"DROP TABLE velsql_history"_s);
    history.Ask(u"CREATE TABLE velsql_history (controller_name, item_name, item_value CHECK (item_value < 100), b)"_s);
    testing::internal::CaptureStderr();
    for (int i = 95; i < 110; ++i) history.Record(u"A"_s, i);
    history.Record(u"B"_s, 200);
    history.Record(u"B"_s, 7);
    EXPECT_TRUE(history.Flush());
    const QByteArray log = QByteArray::fromStdString(testing::internal::GetCapturedStderr());
    EXPECT_EQ(log.count("cannot be recorded"), 2) << "one for each item: " << log.constData();
    EXPECT_EQ(history.Ask(s_Range)[1], u"6,7,99");
}

TEST_F(HistoryTest, CatchesUpWhenItsDatabaseIsBackButForTheOldestThatAreTooMany)
{
    QDir().mkpath(m_Path); // a folder where the file should be
    AskedHistory history(m_Settings);
    const auto limit = static_cast<int>(Recorder::MostWaiting);
    for (int i = 0; i < limit + 10; ++i) history.Record(u"A"_s, i);
    EXPECT_FALSE(history.Flush(300));
    EXPECT_TRUE(history.Ask(s_Values)[0].startsWith(u"The history database \"%1\" cannot be opened: "_s.arg(m_Path)));
    QDir().rmdir(m_Path);
    EXPECT_TRUE(history.Flush(60'000));
    EXPECT_EQ(history.Ask(s_Range)[1], u"%1,10,%2"_s.arg(limit).arg(limit + 9));
    QFile::remove(m_Path); // and away while it is open
    history.Record(u"A"_s, 3);
    EXPECT_TRUE(history.Flush());
    EXPECT_EQ(history.Ask(s_Values), QStringList({u"item_value"_s, u"3"_s}));
}

TEST_F(HistoryTest, TwoDestinationsOrNoneAreRecordedInto)
{
    m_Settings.Destinations[1].ConnectionString = u"Database="_s + m_Folder.filePath(u"second.db"_s);
    m_Settings.Destinations[1].TableName = u"mi\"ne"_s;
    for (const bool enabled : {false, true}) {
        m_Settings.Enabled = enabled;
        AskedHistory history(m_Settings);
        history.Record(u"A"_s, enabled ? 2 : 1);
        EXPECT_TRUE(history.Flush());
        EXPECT_EQ(history.Ask(u"SELECT 7"_s), QStringList({u"7"_s, u"7"_s})) << "asked all the same";
    }
    const QStringList second = {u"item_value"_s, u"2"_s};
    EXPECT_EQ(AskedHistory(m_Settings).Ask(s_Values), second);
    std::swap(m_Settings.Destinations[0], m_Settings.Destinations[1]); // the first one is asked
    EXPECT_EQ(AskedHistory(m_Settings).Ask(u"SELECT item_value FROM \"mi\"\"ne\""_s), second);
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
    {
        AskedHistory history(m_Settings);
        EXPECT_EQ(history.Ask(EndlessQuery),
                  QStringList(u"The statement has shown no rows after 0.1 s (statement_timeout)."_s));
        const ResultSpoolRef bounded = history.Run(endless);
        EXPECT_EQ(bounded->Progress().Failure, u"The result is larger than 3.0 MB, where reading it ends.");
        EXPECT_EQ(AskedHistory::Row(*bounded, bounded->Progress().RowsSoFar - 1),
                  QString::number(bounded->Progress().RowsSoFar))
            << "what was read stays";
    }
    m_Settings.Limits = {.RestAfter = 100ms};
    AskedHistory history(m_Settings);
    const ResultSpoolRef hidden = Wait(history.Start(endless));
    const auto rows = [&] { return hidden->Progress().RowsSoFar; };
    qint64 before = 0;
    const auto rests = [&] {
        before = rows();
        Pause(300);
        return before > 0 && before == rows();
    };
    EXPECT_TRUE(WaitUntil(rests)) << "nobody asks";
    hidden->NoteAsked();
    EXPECT_TRUE(WaitUntil([&] { return rows() > before; })) << "it goes on";
    m_Settings.Limits.EndAfter = 300ms;
    EXPECT_EQ(AskedHistory(m_Settings).Run(endless)->Progress().Failure,
              u"Nobody has asked for more of the result for 0.3 s.");
}

TEST_F(HistoryTest, ItsFilesAreItsUsersAlone)
{
    const auto modesAfterRecording = [](const HistorySettings& settings, const QString& path) {
        AskedHistory history(settings);
        history.Record(u"A"_s, 1);
        EXPECT_TRUE(history.Flush());
        QStringList modes;
        for (const QString& file : {path, path + u"-wal"_s, path + u"-shm"_s, QFileInfo(path).path()})
            modes << QString::number(QFile::permissions(file).toInt() & 0x777, 16);
        return modes.join(u' ');
    };
    EXPECT_EQ(modesAfterRecording(m_Settings, m_Path), u"600 600 600 700");
    qputenv("XDG_STATE_HOME", QFile::encodeName(m_Folder.path()));
    const QString own = m_Folder.filePath(u"velsql/history.db"_s); // as an earlier version left it
    ASSERT_TRUE(QDir().mkpath(QFileInfo(own).path()) && QFile(own).open(QIODevice::WriteOnly));
    ASSERT_NE(QFile::permissions(own).toInt() & 0x077, 0);
    EXPECT_EQ(modesAfterRecording(DefaultHistorySettings(), own), u"600 600 600 700");
}

TEST(ConnectionString, IsReadInItsUsualFormsAndRefusedWithoutAnyPartOfIt)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"Database=/tmp/a b.db", u"SQLite /tmp/a b.db Database=/tmp/a b.db"},
        {u" driver = {PostgreSQL Unicode} ; SERVER=h;Port=5433;Database=d;uid=u;PWD={se;cr}};et} ",
         u"PostgreSQL d driver = {PostgreSQL Unicode} ;SERVER=h;Port=5433;Database=d;uid=u;PWD=***;"},
        {u"Database=x;Pwd=se;cret=1", u"Entry 3 of the connection string has an unknown key."},
        {u"Database=x;Pwd=a;cret", u"Entry 3 of the connection string has no \"=\"."},
        {u"Driver=Oracle;Database=x",
         u"The connection string names a driver that is not there: there are SQLite and PostgreSQL."},
        {u"Database=x;Port=high", u"The connection string's port is no port number."},
        {u"Database='x", u"Entry 1 of the connection string has no closing '."},
        {u"Database=x;Pwd=\"se\"cret", u"Entry 2 of the connection string goes on behind its closing \"."},
        {u"", u"The connection string names no database."},
    };
    for (const auto& [text, outcome] : cases) {
        const auto read = [text = text] {
            const DatabaseAddress address(QString::fromUtf16(text));
            const QString kind = address.IsPostgreSql() ? u"PostgreSQL"_s : u"SQLite"_s;
            return kind + u' ' + address.Database() + u' ' + address.Shown();
        };
        EXPECT_EQ(OutcomeOf(read), outcome);
    }
}
