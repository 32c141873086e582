#include "tests/server/AskedHistory.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

/// A history on an SQLite file of its own.
class HistoryTest : public ::testing::Test
{
protected:
    void Open(qint32 maxRecord = 0)
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = QStringLiteral("Driver=SQLite;Database=") + Path();
        settings.Destinations[0].MaxRecord = maxRecord;
        m_History.emplace(settings);
    }
    QString Path() const { return m_Folder.filePath(QStringLiteral("sub/history.db")); }
    void Record(const QString& item, const Variant& value) { m_History->Record(item, value); }
    ResultSpoolRef Run(const QString& statement) { return m_History->Run(statement); }
    QStringList Ask(const QString& statement) { return m_History->Ask(statement); }
    static QString Row(const ResultSpool& result, qint64 row) { return AskedHistory::Row(result, row); }

    QTemporaryDir m_Folder;
    std::optional<AskedHistory> m_History;
};

} // namespace

TEST_F(HistoryTest, PresetsGiveSensibleResults)
{
    Open();
    Record(QStringLiteral("A"), 0);
    Record(QStringLiteral("A"), 3.5);
    Record(QStringLiteral("B"), false);
    Record(QStringLiteral("B"), true);
    Record(QStringLiteral("C"), QStringLiteral("it's, \"text\""));
    Record(QStringLiteral("C"), SafeArray(QList<qint16>({1, 2})));
    ASSERT_TRUE(m_History->Flush(5000));
    const QString all = QStringLiteral("controller_name,item_name,item_value,item_time");
    EXPECT_EQ(Ask(QStringLiteral("SELECT item_name FROM velsql_history WHERE item_value = '0'")),
              QStringList({QStringLiteral("item_name"), QStringLiteral("A"), QStringLiteral("B")}));
    EXPECT_EQ(
        Ask(QStringLiteral("SELECT COUNT(*) AS item_count FROM velsql_history GROUP BY controller_name, item_name")),
        QStringList({QStringLiteral("item_count"), QStringLiteral("2"), QStringLiteral("2"), QStringLiteral("2")}));
    EXPECT_EQ(Ask(QStringLiteral(
                      "SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY controller_name, item_name"))
                  .mid(0, 3),
              QStringList({QStringLiteral("item_Average"), QStringLiteral("1.75"), QStringLiteral("0.5")}));
    const QStringList first = Ask(QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time ASC"));
    ASSERT_EQ(first.size(), 7);
    EXPECT_EQ(first[0], all);
    EXPECT_TRUE(first[1].startsWith(QStringLiteral("PLC1,A,0,")) && first[1].endsWith(QStringLiteral(".001500")))
        << first[1].toStdString();
    EXPECT_TRUE(Ask(QStringLiteral("SELECT * FROM velsql_history ORDER BY item_time DESC"))[1].startsWith(
        QStringLiteral("PLC1,C,1,2,")));
}

TEST_F(HistoryTest, SaysWhatTheDatabaseSays)
{
    Open();
    EXPECT_EQ(Ask(QStringLiteral("SELECT * FROM nowhere")), QStringList(QStringLiteral("no such table: nowhere")));
    EXPECT_EQ(Ask(QStringLiteral("CREATE TABLE mine (a)")), QStringList(QString())) << "no columns";
    EXPECT_EQ(Ask(QStringLiteral("SELECT 1 AS a, 'x' AS a, NULL AS b, 9000000000 AS c, x'41' IS NULL AS d")),
              QStringList({QStringLiteral("a,a,b,c,d"), QStringLiteral("1,x,NULL,9000000000,0")}));
}

TEST_F(HistoryTest, KeepsTheNewest)
{
    Open(10);
    for (int i = 0; i < 2500; ++i) Record(QStringLiteral("A"), i);
    ASSERT_TRUE(m_History->Flush(5000));
    EXPECT_EQ(Ask(QStringLiteral("SELECT count(*), min(item_value), max(item_value) FROM velsql_history"))[1],
              QStringLiteral("10,2490,2499"));
}

TEST_F(HistoryTest, CatchesUpWhenItsDatabaseIsBack)
{
    QDir().mkpath(Path()); // a folder where the file should be
    Open();
    Record(QStringLiteral("A"), 1);
    EXPECT_FALSE(m_History->Flush(1200));
    EXPECT_TRUE(Ask(QStringLiteral("SELECT 1"))[0].startsWith(
        QStringLiteral("The history database \"%1\" cannot be opened: ").arg(Path())));
    Record(QStringLiteral("A"), 2);
    QDir().rmdir(Path());
    EXPECT_TRUE(m_History->Flush(5000));
    QFile::remove(Path()); // and away while it is open
    Record(QStringLiteral("A"), 3);
    EXPECT_TRUE(m_History->Flush(5000));
    EXPECT_EQ(Ask(QStringLiteral("SELECT item_value FROM velsql_history")),
              QStringList({QStringLiteral("item_value"), QStringLiteral("3")}));
}

TEST_F(HistoryTest, WhenTooManyWaitTheOldestAreDropped)
{
    QDir().mkpath(Path()); // a folder where the file should be
    Open();
    const auto limit = static_cast<int>(Recorder::MostWaiting);
    for (int i = 0; i < limit + 10; ++i) Record(QStringLiteral("A"), i);
    QDir().rmdir(Path());
    EXPECT_TRUE(m_History->Flush(30'000));
    EXPECT_EQ(Ask(QStringLiteral("SELECT count(*), min(item_value), max(item_value) FROM velsql_history"))[1],
              QStringLiteral("%1,10,%2").arg(limit).arg(limit + 9));
}

TEST_F(HistoryTest, TwoDestinationsOrNoneAreRecordedInto)
{
    const QString second = m_Folder.filePath(QStringLiteral("second.db"));
    HistorySettings settings;
    settings.Destinations[0].ConnectionString = QStringLiteral("Database=") + Path();
    settings.Destinations[1].ConnectionString = QStringLiteral("Database=") + second;
    settings.Destinations[1].TableName = QStringLiteral("mi\"ne");
    for (const bool enabled : {false, true}) {
        settings.Enabled = enabled;
        m_History.emplace(settings);
        Record(QStringLiteral("A"), enabled ? 2 : 1);
        EXPECT_TRUE(m_History->Flush(5000));
        EXPECT_EQ(Ask(QStringLiteral("SELECT 7"))[1], QStringLiteral("7")) << "asked all the same";
    }
    EXPECT_EQ(Ask(QStringLiteral("SELECT item_value FROM velsql_history"))[1], QStringLiteral("2"));
    HistorySettings other;
    other.Destinations[0].ConnectionString = settings.Destinations[1].ConnectionString;
    other.Enabled = false;
    m_History.emplace(other);
    EXPECT_EQ(Ask(QStringLiteral("SELECT item_value FROM \"mi\"\"ne\""))[1], QStringLiteral("2"));
}

TEST_F(HistoryTest, ACorruptDatabaseIsNotTouched)
{
    QDir().mkpath(QFileInfo(Path()).path());
    const QByteArray garbage(5000, 'x');
    {
        QFile file(Path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(garbage);
    }
    Open();
    Record(QStringLiteral("A"), 1);
    EXPECT_FALSE(m_History->Flush(500));
    EXPECT_EQ(Ask(QStringLiteral("SELECT * FROM velsql_history")),
              QStringList(QStringLiteral("file is not a database")));
    QFile file(Path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), garbage);
}

TEST_F(HistoryTest, ResultsAreReadInPages)
{
    Open();
    const QString numbers = QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT %1) "
                                           "SELECT i, 'text ' || i FROM n");
    const ResultSpoolRef result = Run(numbers.arg(100'000));
    EXPECT_EQ(result->Progress().RowsSoFar, 100'000);
    for (const qint64 row : {0, 1, 4095, 50'000, 99'999})
        EXPECT_EQ(Row(*result, row), QStringLiteral("%1,text %1").arg(row));
    EXPECT_LT(result->PageOf(50'000).size(), 2u * ResultSpool::PageBytes);
    EXPECT_EQ(FailureOf([&] {
                  try {
                      result->PageOf(100'000);
                  } catch (const DescribedError& error) {
                      EXPECT_EQ(error.Description(), QStringLiteral("The result has 100000 rows."));
                  }
              }),
              QStringLiteral("succeeded"));
    const ResultSpoolRef large =
        Run(QStringLiteral("SELECT zeroblob(3000000), 1 UNION ALL SELECT zeroblob(3000000), 2"));
    EXPECT_EQ(large->Progress().RowsSoFar, 2);
    EXPECT_GT(large->PageOf(1).size(), 3'000'000u) << "a page holds one row at least";
}

TEST_F(HistoryTest, AFailureInTheMiddleKeepsTheRowsBefore)
{
    Open();
    const ResultSpoolRef result =
        Run(QStringLiteral("SELECT abs(i) FROM (SELECT 5 AS i UNION ALL SELECT -9223372036854775808)"));
    EXPECT_EQ(result->Progress().RowsSoFar, 1);
    EXPECT_EQ(result->Progress().Failure, QStringLiteral("integer overflow"));
}

TEST(ConnectionString, IsReadInItsUsualForms)
{
    const auto parse = [](const char16_t* text) {
        try {
            const DatabaseAddress address(QString::fromUtf16(text));
            return (address.IsPostgreSql() ? QStringLiteral("PostgreSQL ") : QStringLiteral("SQLite ")) +
                   address.Database() + u' ' + address.Shown();
        } catch (const DescribedError& error) {
            return error.Description();
        }
    };
    EXPECT_EQ(parse(u"Database=/tmp/a b.db"), u"SQLite /tmp/a b.db Database=/tmp/a b.db");
    EXPECT_EQ(parse(u" driver = {PostgreSQL Unicode} ; SERVER=h;Port=5433;Database=d;uid=u;PWD={se;cr}};et} "),
              u"PostgreSQL d driver = {PostgreSQL Unicode} ;SERVER=h;Port=5433;Database=d;uid=u;PWD=***;");
    EXPECT_EQ(parse(u"Provider=SQLite3;Data=x"), u"The connection string has an unknown key \"Data\".");
    EXPECT_EQ(parse(u"Driver=Oracle;Database=x"),
              u"The connection string names the driver \"Oracle\"; there are SQLite and PostgreSQL.");
    EXPECT_EQ(parse(u"Database=x;Port=high"), u"The connection string's port \"high\" is no port number.");
    EXPECT_EQ(parse(u"Database='x"), u"A value of the connection string has no closing '.");
    EXPECT_EQ(parse(u""), u"The connection string names no database.");
}
