#include "core/modMain.h"
#include "history/frmHistory.h"
#include "tests/support/PostgresRun.h"
#include "tests/system/SystemConsole.h"

#include <QClipboard>
#include <QLabel>
#include <QProcess>
#include <QStandardPaths>

namespace {

const QString Announced = u"Calling History:Execute..."_s;
const QString Succeeded = u"Succeeded."_s;

class HistorySystem : public SystemConsole
{
protected:
    void Open()
    {
        StartBoth();
        OpenWindow();
    }
    void OpenWindow()
    {
        m_Form = &Show(u"VelSQLEngine\\VelSQLHistory");
        ASSERT_EQ(m_Form->objectName(), u"frmHistory");
    }
    QStringList Execute(const QString& statement)
    {
        Control<StatementEdit>(*m_Form, "txtExecute").SetText(statement);
        Press(*m_Form, "cmdExecute");
        return TakeLog();
    }
    ResultGrid& Grid() { return Control<ResultGrid>(*m_Form, "grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    bool WaitUntilRead()
    {
        return QTest::qWaitFor([&] { return Model().IsComplete(); }, 60'000);
    }
    QStringList Row(int row)
    {
        Grid().scrollTo(Model().index(row, 0));
        Grid().viewport()->repaint();
        QStringList texts;
        for (int column = 0; column < Model().columnCount(); ++column)
            texts << Model().index(row, column).data().toString();
        return texts;
    }
    QString Whole(int row, int column) { return WholeText(Model().Cell(row, column)); }

    ChildWindow* m_Form = nullptr;
};

/// Counts from 1 to `last`.
QString Numbers(int last)
{
    return u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "_s.arg(last);
}

TEST_F(HistorySystem, ShowsWhatADatabaseCanHold)
{
    Open();
    EXPECT_EQ(Cell(*m_Form, u"Enabled"_s), u"True");
    EXPECT_EQ(Execute(u"SELECT NULL AS a, '' AS a, 'x\ny' AS \"\", 42 AS n, 0.5 AS r, x'00FF' AS b"_s),
              QStringList({Announced, Succeeded}));
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0), QStringList({u"NULL"_s, QString(), u"x y"_s, u"42"_s, u"0.5"_s, u"0x00FF (2 bytes)"_s}));
    EXPECT_EQ(Whole(0, 2), u"x\ny") << "line ends travel there and back";
    QStringList names;
    for (int column = 0; column < 5; ++column) names << Model().headerData(column, Qt::Horizontal).toString();
    EXPECT_EQ(names, QStringList({u"a"_s, u"a"_s, QString(), u"n"_s, u"r"_s}));

    Execute(u"SELECT printf('%.*c', 5000000, 'x') AS t, zeroblob(10000000) AS b"_s);
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0)[1], u"0x"_s + u"00"_s.repeated(16) + u"\u2026 (10000000 bytes)"_s);
    EXPECT_EQ(Whole(0, 0).size(), 5'000'000);

    QStringList columns;
    for (int i = 0; i < 2000; ++i) columns << QString::number(i);
    Execute(u"SELECT "_s + columns.join(u','));
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0).first(3), QStringList({u"0"_s, u"1"_s, u"2"_s}));
    EXPECT_EQ(Whole(0, 1999), u"1999");
}

TEST_F(HistorySystem, RunsStatementsThatChangeAndRefusesBrokenOnes)
{
    Open();
    EXPECT_EQ(Execute(u"CREATE TABLE notes(text)"_s), QStringList({Announced, Succeeded}));
    EXPECT_EQ(Model().columnCount(), 0);
    EXPECT_EQ(Execute(u"INSERT INTO notes VALUES ('ä\U0001F600')"_s), QStringList({Announced, Succeeded}));
    Execute(u"SELECT * FROM notes"_s);
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0), QStringList{u"ä\U0001F600"_s});
    const QStringList log = Execute(u"SELEC 1"_s);
    ASSERT_EQ(log.size(), 2);
    EXPECT_TRUE(log[1].contains(u"near \"SELEC\": syntax error"_s)) << log[1].toStdString();
    EXPECT_EQ(Row(0), QStringList{u"ä\U0001F600"_s}) << "the previous result";
}

TEST_F(HistorySystem, ALongResultIsReadToItsEndAndASecondOneTakesItsPlace)
{
    Open();
    EXPECT_EQ(Execute(Numbers(300'000) + u"SELECT i, 'row ' || i AS t FROM n"_s), QStringList({Announced, Succeeded}));
    QTest::keyClick(&Grid(), Qt::Key_End);
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_TRUE(QTest::qWaitFor([&] { return Grid().currentIndex().row() == 299'999; }, 2000));
    EXPECT_EQ(Row(299'999), QStringList({u"300000"_s, u"row 300000"_s}));
    for (int row = 0; row < 300'000; row += 997) ASSERT_EQ(Whole(row, 0), QString::number(row + 1));
    EXPECT_EQ(Control<QLabel>(*m_Form, "lblRows").text(), u"300000 rows");

    Execute(Numbers(50'000'000) + u"SELECT i FROM n"_s);
    EXPECT_EQ(Execute(u"SELECT 'second'"_s), QStringList({Announced, Succeeded})) << "while the first is half read";
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0), QStringList{u"second"_s});
}

TEST_F(HistorySystem, AServerThatDiesLeavesTheRowsThatAreThere)
{
    Open();
    Execute(Numbers(300'000) + u"SELECT i FROM n"_s);
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0), QStringList{u"1"_s});
    m_Server.Kill();
    QTest::keyClick(&Grid(), Qt::Key_End);
    QTest::qWait(1500);
    const QStringList log = TakeLog();
    EXPECT_EQ(log.size(), 1) << log.join(u'\n').toStdString();
    Grid().scrollToTop();
    EXPECT_EQ(Row(0), QStringList{u"1"_s});

    m_Server.Start();
    QTest::qWait(1500);
    EXPECT_EQ(TakeLog(), QStringList()) << "the result is gone for good, and that was said";
    EXPECT_EQ(Execute(u"SELECT 7"_s), QStringList({Announced, Succeeded}));
    ASSERT_TRUE(WaitUntilRead());
    EXPECT_EQ(Row(0), QStringList{u"7"_s});
}

TEST_F(HistorySystem, ThePresetsRunOnPostgreSql)
{
    const PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    const QTemporaryDir folder;
    QFile plant(folder.filePath(u"plant.toml"_s));
    ASSERT_TRUE(plant.open(QIODevice::WriteOnly));
    plant.write(u"[[history.destination]]\nconnection = \"%1\"\n[[controller]]\nname = \"C\"\n"
                "[[controller.item]]\nname = \"X\"\ntype = \"R8\"\nhistory = true\n"_s.arg(database.ConnectionString())
                    .toUtf8());
    plant.close();
    m_Server.Start({u"--plant"_s, plant.fileName()});
    StartConsoleWith(QString());
    const ItemRef item = modMain::Engine->get_Controller(Variant(u"C"_s))->get_Item(Variant(u"X"_s));
    for (const double value : {0.0, 2.5, 5.0}) item->put_Value(value);
    OpenWindow();
    EXPECT_EQ(Cell(*m_Form, u"ConnectionString(1)"_s), database.ConnectionString());
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            Execute(u"SELECT count(*) FROM velsql_history"_s);
            return WaitUntilRead() && Model().rowCount() == 1 && Row(0) == QStringList{u"3"_s};
        },
        5000));
    const std::pair<int, QStringList> firstRows[] = {
        {3, {u"C"_s, u"X"_s, u"0"_s}}, {1, {u"C"_s, u"X"_s, u"0"_s}}, {1, {u"3"_s}}, {1, {u"2.5"_s}},
        {3, {u"C"_s, u"X"_s, u"0"_s}}, {3, {u"C"_s, u"X"_s, u"5"_s}},
    };
    auto& presets = Control<ListBox>(*m_Form, "cmbSQLCommand");
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        presets.SetListIndex(i);
        Press(*m_Form, "cmdOverwrite");
        Press(*m_Form, "cmdExecute");
        EXPECT_EQ(TakeLog(), QStringList({Announced, Succeeded}));
        ASSERT_TRUE(WaitUntilRead());
        EXPECT_EQ(Model().rowCount(), firstRows[i].first);
        EXPECT_EQ(Row(0).mid(0, 3), firstRows[i].second);
    }
}

} // namespace
