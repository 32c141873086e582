#include "history/frmHistory.h"
#include "tests/system/SystemConsole.h"

#include <QLabel>

namespace {

class HistorySystem : public SystemConsole
{
protected:
    QStringList Execute(const QString& statement)
    {
        m_Form = &Query(statement);
        return TakeLog();
    }
    ResultGrid& Grid() { return Control<ResultGrid>(*m_Form, "grdResult"); }
    ResultModel& Model() { return Grid().Model(); }
    /// What is painted in a row when the result is read.
    QStringList Row(int row)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Model().IsComplete(); }, 60'000));
        Grid().scrollTo(Model().index(row, 0));
        QStringList texts;
        const auto isPainted = [&] {
            texts.clear();
            for (int column = 0; column < Model().columnCount(); ++column)
                texts << Model().index(row, column).data().toString();
            return !texts.contains(u"\u2026"_s); // cells that wait for their turn
        };
        Grid().viewport()->repaint();
        EXPECT_TRUE(QTest::qWaitFor(isPainted, 20'000));
        return texts;
    }
    QString Whole(int row, int column) { return WholeText(Model().Cell(row, column)); }

    const QStringList ExecuteLog = Called(u"History:Execute"_s);
    ChildWindow* m_Form = nullptr;
};

/// Counts from 1 to `last`.
QString Numbers(int last)
{
    return u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "_s.arg(last);
}

TEST_F(HistorySystem, ShowsWhatADatabaseCanHoldAndSaysWhatItRefuses)
{
    StartBoth();
    EXPECT_EQ(Execute(u"CREATE TABLE notes(text)"_s), ExecuteLog);
    EXPECT_EQ(Execute(u"INSERT INTO notes VALUES ('ä\U0001F600')"_s), ExecuteLog);
    EXPECT_EQ(Model().columnCount(), 0);
    EXPECT_EQ(Execute(u"SELECT NULL AS a, text AS a, 'x\ny' AS \"\", 0.5, x'00FF' FROM notes"_s), ExecuteLog);
    EXPECT_EQ(Row(0), QStringList({u"NULL"_s, u"ä\U0001F600"_s, u"x y"_s, u"0.5"_s, u"0x00FF (2 bytes)"_s}));
    EXPECT_EQ(Whole(0, 2), u"x\ny") << "line ends travel there and back";
    const QString refused = Execute(u"SELEC 1"_s).join(u'/');
    EXPECT_TRUE(refused.contains(u"near \"SELEC\": syntax error"_s)) << refused.toStdString();
    EXPECT_EQ(Row(0)[3], u"0.5"_s) << "the previous result";
    Execute(u"SELECT zeroblob(10000000)"_s);
    EXPECT_EQ(Row(0)[0], u"0x"_s + u"00"_s.repeated(16) + u"\u2026 (10000000 bytes)"_s);
}

TEST_F(HistorySystem, ALongResultIsReadToItsEndAndASecondOneTakesItsPlace)
{
    StartBoth();
    EXPECT_EQ(Execute(Numbers(300'000) + u"SELECT i, 'row ' || i AS t FROM n"_s), ExecuteLog);
    QTest::keyClick(&Grid(), Qt::Key_End);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Grid().currentIndex().row() == 299'999; }, 60'000));
    EXPECT_EQ(Row(299'999), QStringList({u"300000"_s, u"row 300000"_s}));
    for (int row = 0; row < 300'000; row += 997) ASSERT_EQ(Whole(row, 0), QString::number(row + 1));
    EXPECT_EQ(Control<QLabel>(*m_Form, "lblRows").text(), u"300000 rows");

    Execute(Numbers(50'000'000) + u"SELECT i FROM n"_s);
    EXPECT_EQ(Execute(u"SELECT 'second'"_s), ExecuteLog) << "while the first is half read";
    EXPECT_EQ(Row(0), QStringList{u"second"_s});
}

} // namespace
