#include "core/automation/SafeArray.h"
#include "tests/history/HistoryWindow.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QScrollBar>

#include <ctime>

namespace {

class ResultGridTest : public HistoryWindow
{
protected:
    ResultGridTest() { QGuiApplication::clipboard()->setText(u"before"_s); }

    /// Opens the window, answers a statement with this much, and forgets the log.
    void OpenOn(const ResultProgress& progress = {1000, true, {}})
    {
        Open();
        m_Script.Progress = progress;
        Execute(u"x"_s);
        TakeLog();
    }
    static QString Clipboard() { return QGuiApplication::clipboard()->text(); }
    void Select(int top, int left, int bottom, int right,
                QItemSelectionModel::SelectionFlags how = QItemSelectionModel::ClearAndSelect)
    {
        Grid().selectionModel()->select({Model().index(top, left), Model().index(bottom, right)}, how);
    }
    void CopyByKey() { QTest::keyClick(&Grid(), Qt::Key_C, Qt::ControlModifier); }
    bool WaitForText(int row, int column, const QString& text)
    {
        return QTest::qWaitFor([&] { return Model().index(row, column).data() == text; }, 5000);
    }
};

TEST_F(ResultGridTest, ReadsOnlyWhatIsLookedAt)
{
    OpenOn({1'000'000, true, {}});
    EXPECT_EQ(Row(0), QStringList({u"0"_s, u"name 0"_s}));
    Grid().scrollTo(Model().index(500'050, 0), QAbstractItemView::PositionAtTop);
    EXPECT_EQ(Row(500'050), QStringList({u"500050"_s, u"name 500050"_s}));
    EXPECT_EQ(m_Script.PagesAsked, QList<qint64>({0, 500'050}));
}

TEST_F(ResultGridTest, GrowsWithTheReadingWhileItIsShown)
{
    OpenOn({0, false, {}});
    EXPECT_EQ(RowsText(), u"0 rows so far");
    m_Script.Progress.RowsSoFar = 150;
    EXPECT_TRUE(WaitForText(0, 1, u"name 0"_s));
    EXPECT_EQ(RowsText(), u"150 rows so far");
    Press("cmdHide");
    m_Script.ProgressAsked = 0;
    m_Script.Progress.RowsSoFar = 5'000;
    QTest::qWait(450);
    EXPECT_EQ(m_Script.ProgressAsked, 0);
    m_Form->ShowForm();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Model().rowCount() == 5'000; }, 2000));
    m_Script.ProgressAsked = 0;
    QTest::qWait(1000);
    EXPECT_LE(m_Script.ProgressAsked, 12);
    m_Script.Progress = {5'001, true, {}};
    EXPECT_TRUE(QTest::qWaitFor([&] { return RowsText() == u"5001 rows"; }, 2000));
    m_Script.ProgressAsked = 0;
    QTest::qWait(450);
    EXPECT_EQ(m_Script.ProgressAsked, 0);
}

TEST_F(ResultGridTest, EndFollowsTheReadingUntilTheOperatorMoves)
{
    OpenOn({1'000, false, {}});
    const auto currentRow = [&] { return Grid().currentIndex().row(); };
    const auto waitForRow = [&](int row) { return QTest::qWaitFor([&] { return currentRow() == row; }, 2000); };
    Grid().setCurrentIndex(Model().index(3, 1));
    QTest::keyClick(&Grid(), Qt::Key_End);
    EXPECT_EQ(Grid().currentIndex(), Model().index(999, 1)) << "the same column";
    m_Script.Progress.RowsSoFar = 40'000;
    EXPECT_TRUE(waitForRow(39'999));
    EXPECT_EQ(Grid().verticalScrollBar()->value(), Grid().verticalScrollBar()->maximum());
    EXPECT_TRUE(WaitForText(39'999, 1, u"name 39999"_s));
    EXPECT_LT(m_Script.PagesAsked.size(), 5) << "what was jumped over is not read";
    CopyByKey();
    m_Script.Progress = {50'000, true, {}};
    EXPECT_TRUE(waitForRow(49'999)) << "also after a copy";

    m_Script.Progress.Complete = false;
    Execute(u"y"_s);
    QTest::keyClick(&Grid(), Qt::Key_End, Qt::ControlModifier);
    EXPECT_EQ(Grid().currentIndex(), Model().index(49'999, 1));
    QTest::keyClick(&Grid(), Qt::Key_Home);
    m_Script.Progress = {60'000, true, {}};
    EXPECT_TRUE(QTest::qWaitFor([&] { return Model().rowCount() == 60'000; }, 2000));
    EXPECT_EQ(Grid().currentIndex(), Model().index(0, 1));
}

TEST_F(ResultGridTest, ALostServerLeavesWhatIsThereAndSaysSoOnce)
{
    OpenOn({100'000, false, {}});
    m_Script.PagesAsked.clear();
    m_Script.PageFailure = m_Script.ProgressFailure = u"The connection to the server was lost."_s;
    QTest::keyClick(&Grid(), Qt::Key_End);
    for (int i = 0; i < 50; ++i) Grid().viewport()->repaint();
    QTest::qWait(300);
    for (const int row : {50'000, 20'000, 0}) {
        Grid().scrollTo(Model().index(row, 0));
        Grid().viewport()->repaint();
    }
    EXPECT_EQ(TakeLog(), QStringList{u"The connection to the server was lost."_s});
    EXPECT_LE(m_Script.PagesAsked.size(), 2) << "asked again once a second";
    EXPECT_EQ(Row(5), QStringList({u"5"_s, u"name 5"_s})) << "rows already there stay";
    Grid().scrollTo(Model().index(50'000, 0));
    EXPECT_EQ(Row(50'000), QStringList({u"\u2026"_s, u"\u2026"_s}));

    m_Script.PageFailure = m_Script.ProgressFailure = QString();
    EXPECT_TRUE(WaitForText(50'000, 1, u"name 50000"_s)) << "a server that answers again is asked again";
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ResultGridTest, AReadingThatFailsSaysWhyAndKeepsItsRows)
{
    OpenOn({300, false, {}});
    m_Script.Progress = {310, true, u"database is locked"_s};
    EXPECT_TRUE(QTest::qWaitFor([&] { return RowsText() == u"310 rows, the rest could not be read"; }, 2000));
    EXPECT_EQ(TakeLog(), QStringList{u"database is locked"_s});
    Execute(u"y"_s);
    EXPECT_EQ(TakeLog(), QStringList({u"Calling History:Execute..."_s, u"Succeeded."_s, u"database is locked"_s}));
}

TEST_F(ResultGridTest, ACellThatCannotBeReadHidesNoOther)
{
    Open();
    m_Script.Cell = [](qint64 row, int column) -> Variant {
        if (row == 1 && column == 0) throw ServerError(u"bad value"_s);
        return Variant(u"fine"_s);
    };
    Execute(u"x"_s);
    EXPECT_EQ(Row(1), QStringList({u"bad value"_s, u"fine"_s}));
    EXPECT_EQ(Row(2), QStringList({u"fine"_s, u"fine"_s}));
    EXPECT_EQ(TakeLog(), QStringList({u"Calling History:Execute..."_s, u"Succeeded."_s}));
}

TEST_F(ResultGridTest, HugeCellsNeitherBlockNorFillMemory)
{
    Open();
    const QString huge(5'000'000, u'x');
    m_Script.RowsPerPage = 1;
    m_Script.BytesPerPage = 10'000'000;
    m_Script.Cell = [&](qint64 row, int) {
        QTest::qSleep(20);
        return Variant(QString(huge).replace(0, 6, QString::number(row).leftJustified(6)));
    };
    Execute(u"x"_s);
    Grid().viewport()->repaint();
    const int last = Grid().rowAt(Grid().viewport()->height() - 1);
    ASSERT_GT(last, 5);
    EXPECT_LT(m_Script.PagesAsked.size(), last) << "painting waits for a few cells only";
    EXPECT_TRUE(QTest::qWaitFor([&] { return Row(last)[0].startsWith(QString::number(last) + u' '); }, 10'000));
    EXPECT_EQ(m_Script.LivePages, 1);
    const auto asked = m_Script.PagesAsked.size();
    for (int i = 0; i < 20; ++i) Grid().viewport()->repaint();
    EXPECT_EQ(m_Script.PagesAsked.size(), asked) << "what was shown once is painted from memory";
    Select(2, 0, 2, 0);
    CopyByKey();
    EXPECT_EQ(Clipboard().size(), huge.size());
    EXPECT_TRUE(Clipboard().startsWith(u"2     xxx"));
}

TEST_F(ResultGridTest, TwoThousandColumnsAreSizedAsTheyAreSeen)
{
    Open();
    m_Script.Columns.fill(u"c"_s, 2000);
    m_Script.Columns[1] = u"a name that is somewhat longer"_s;
    int cells = 0;
    m_Script.Cell = [&](qint64, int column) {
        ++cells;
        return Variant(column % 3 == 0 ? QString(200, u'w') : u"12"_s);
    };
    Execute(u"x"_s);
    Grid().viewport()->repaint();
    EXPECT_LT(cells, 3000);
    const int bound = 45 * Grid().fontMetrics().averageCharWidth();
    EXPECT_EQ(Grid().columnWidth(0), bound);
    EXPECT_GT(Grid().columnWidth(1), Grid().fontMetrics().horizontalAdvance(m_Script.Columns[1]));
    EXPECT_LT(Grid().columnWidth(2), bound / 3);
    Grid().setColumnWidth(2, 60);
    Grid().horizontalScrollBar()->setValue(Grid().horizontalScrollBar()->maximum());
    Grid().viewport()->repaint();
    EXPECT_EQ(Grid().columnWidth(1998), bound);
    Grid().horizontalScrollBar()->setValue(0);
    EXPECT_EQ(Grid().columnWidth(2), 60) << "the operator's own width";
}

TEST_F(ResultGridTest, CopiesSelectionsAsTabSeparatedText)
{
    Open();
    m_Script.Columns = {u"a"_s, u"b"_s, u"c"_s};
    m_Script.Cell = [](qint64 row, int column) -> Variant {
        if (column == 1) return row == 1 ? Variant(Null{}) : Variant(u"x\ty"_s);
        return column == 0 ? Variant(static_cast<qint32>(row)) : Variant(u"say \"%1\""_s.arg(row));
    };
    Execute(u"x"_s);
    CopyByKey();
    EXPECT_EQ(Clipboard(), u"before") << "nothing is selected";
    Select(1, 1, 1, 1);
    CopyByKey();
    EXPECT_EQ(Clipboard(), QString()) << "NULL";
    Select(0, 1, 0, 1);
    CopyByKey();
    EXPECT_EQ(Clipboard(), u"x\ty") << "a single cell as it is";
    Select(0, 0, 2, 2);
    CopyByKey();
    EXPECT_EQ(Clipboard(), u"0\t\"x\ty\"\tsay \"0\"\n1\t\tsay \"1\"\n2\t\"x\ty\"\tsay \"2\"");
    Select(2, 2, 2, 2);
    Select(0, 0, 1, 0, QItemSelectionModel::Select);
    CopyByKey();
    EXPECT_EQ(Clipboard(), u"0\t\n1\t\n\tsay \"2\"") << "a selection of pieces";
}

TEST_F(ResultGridTest, CopiesALargeResultBetweenOtherEventsOrNotAtAll)
{
    OpenOn({200'000, true, {}});
    Grid().selectAll();
    CopyByKey();
    EXPECT_EQ(Clipboard(), u"before");
    EXPECT_EQ(m_Main.Status(), u"Copy...");
    ASSERT_TRUE(QTest::qWaitFor([] { return Clipboard() != u"before"; }, 20'000));
    EXPECT_EQ(Clipboard().count(u'\n'), 199'999);
    EXPECT_TRUE(Clipboard().endsWith(u"\n199999\tname 199999"));
    EXPECT_EQ(m_Main.Status(), u"Ready.");

    CopyByKey();
    Execute(u"another result"_s);
    TakeLog();
    QTest::qWait(100);
    EXPECT_EQ(Clipboard().count(u'\n'), 199'999) << "a copy ends with its result";

    const QString large(1'000'000, u'x');
    m_Script.Cell = [&](qint64, int) { return Variant(large); };
    Grid().selectAll();
    CopyByKey();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !m_Main.LogMessages().isEmpty(); }, 10'000));
    EXPECT_EQ(TakeLog(), QStringList{u"The selection is too large to be copied."_s});
    EXPECT_EQ(Clipboard().count(u'\n'), 199'999);
}

TEST_F(ResultGridTest, ACopyThatMeetsALostServerSaysWhy)
{
    OpenOn();
    m_Script.PageFailure = u"lost"_s;
    Grid().selectAll();
    CopyByKey();
    EXPECT_EQ(TakeLog(), QStringList{u"lost"_s});
    EXPECT_EQ(Clipboard(), u"before");
}

TEST_F(ResultGridTest, SelectingEverythingStaysCheap)
{
    OpenOn({2'000'000, true, {}});
    Grid().selectAll();
    const std::clock_t before = std::clock(); // the processor's time: other programs do not count
    for (int i = 0; i < 10; ++i) {
        Grid().horizontalHeader()->viewport()->repaint();
        Grid().viewport()->repaint();
        QTest::keyClick(&Grid(), Qt::Key_Q);
    }
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 4);
    EXPECT_LT(m_Script.PagesAsked.size(), 3) << "typing looks for nothing";
}

} // namespace
