#include "tests/history/HistoryWindow.h"

#include <QAbstractItemModelTester>

namespace {

class ResultGridTest : public HistoryWindow
{
protected:
    /// Answers a statement with this much.
    void ExecuteFor(const ResultProgress& progress)
    {
        m_Script.Progress = progress;
        Execute();
    }
    bool WaitForRows(const QString& text)
    {
        return QTest::qWaitFor([&] { return RowsText() == text; });
    }
    bool WaitForRow(int row)
    {
        return QTest::qWaitFor([&] { return Model().index(row, 1).data() == u"name %1"_s.arg(row); });
    }
};

} // namespace

TEST_F(ResultGridTest, GrowsWithTheReadingWhileItIsShown)
{
    const QAbstractItemModelTester tester(&Model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    int asked = 0;
    m_Script.BeforeCall = [&](QStringView call) { asked += call == u"Progress"; };
    const auto asksFor = [&](int ms) {
        asked = 0;
        QTest::qWait(ms);
        return asked;
    };
    ExecuteFor({0, false, {}});
    EXPECT_EQ(RowsText(), u"0 rows so far");
    m_Script.Progress.RowsSoFar = 150;
    EXPECT_TRUE(WaitForRow(0));
    Press("cmdHide");
    m_Script.Progress.RowsSoFar = 5'000;
    EXPECT_EQ(asksFor(450), 0);
    m_Form->ShowForm();
    EXPECT_TRUE(WaitForRows(u"5000 rows so far"_s));
    EXPECT_LE(asksFor(1000), 12);
    m_Script.Progress = {5'001, true, {}};
    EXPECT_TRUE(WaitForRows(u"5001 rows"_s));
    EXPECT_EQ(asksFor(450), 0);
    ExecuteFor({3, true, {}});
    EXPECT_EQ(Row(2), u"2;name 2"_s);
    m_Script.Columns = {};
    ExecuteFor({0, true, {}, 2});
    EXPECT_EQ(RowsText(), u"2 rows affected");
}

TEST_F(ResultGridTest, ALostServerLeavesWhatIsThereAndSaysSoOnce)
{
    const QString lost = u"The connection to the server was lost."_s;
    ExecuteFor({100'000, false, {}});
    m_Script.PagesAsked.clear();
    m_Script.Fail(u"PageOf Progress", lost);
    for (const int row : {50'000, 20'000, 0, 50'000}) {
        Grid().scrollTo(Model().index(row, 0), QAbstractItemView::PositionAtTop);
        Grid().viewport()->repaint();
    }
    EXPECT_EQ(Row(50'000), u"\u2026;\u2026");
    EXPECT_EQ(Row(5), u"5;name 5") << "rows already there stay";
    const auto reason = [this](int row) { return Model().index(row, 0).data(ResultModel::ReasonRole).toString(); };
    EXPECT_EQ(reason(50'000) + reason(5), lost);
    EXPECT_EQ(TakeLog(), QStringList{lost});
    EXPECT_LE(m_Script.PagesAsked.size(), 2) << "asked again once a second";
    Grid().selectAll(), CopyByKey();
    EXPECT_EQ(TakeLog(), QStringList{lost}) << "a copy says so, too";
    EXPECT_EQ(Clipboard(), u"before");

    m_Script.Fail({}, {});
    EXPECT_TRUE(WaitForRow(50'000)) << "a server that answers again is asked again";
    EXPECT_EQ(reason(50'000) + reason(70'000), QString());
    m_Script.Progress = {100'001, true, u"database is locked"_s};
    EXPECT_TRUE(WaitForRows(u"100001 rows, the rest could not be read"_s));
    EXPECT_EQ(Execute(), SuccessLog + QStringList{u"database is locked"_s});
}

TEST_F(ResultGridTest, HugeOrBrokenCellsNeitherBlockNorFillMemoryNorHideOthers)
{
    m_Script.RowsPerPage = 1;
    m_Script.BytesPerPage = 10'000'000;
    m_Script.Cell = [&](qint64 row, int column) {
        if (row == 1 && column == 1) throw ServerError(u"bad value"_s);
        QTest::qSleep(20);
        return Variant(QString::number(row) + QString(5'000'000, u'x'));
    };
    Execute();
    Grid().viewport()->repaint();
    const int last = Grid().rowAt(Grid().viewport()->height() - 1);
    EXPECT_LT(m_Script.PagesAsked.size(), last) << "painting waits for a few cells only";
    EXPECT_TRUE(QTest::qWaitFor([&] { return Row(last).startsWith(QString::number(last) + u'x'); }, 20'000));
    EXPECT_TRUE(Row(1).startsWith(u"1x") && Row(1).endsWith(u";bad value"));
    EXPECT_EQ(Living(), 2) << "the result and one page";
    const auto asked = m_Script.PagesAsked.size();
    for (int i = 0; i < 20; ++i) Grid().viewport()->repaint();
    EXPECT_EQ(m_Script.PagesAsked.size(), asked) << "what was shown once is painted from memory";
    EXPECT_EQ(CopyOf({2, 0, 2, 0}).size(), 5'000'001);
}
