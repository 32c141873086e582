#include "core/LogPane.h"
#include "tests/system/SystemConsole.h"

namespace {

class BatchSystem : public SystemConsole
{
protected:
    void SetUp() override { StartBoth(); }
    static QStringList LineLog(const QString& item) { return Called(u"Item(%1):put_Value"_s.arg(item)); }
};

TEST_F(BatchSystem, WritesTheItemsOfTheControllerItWasOpenedForLastAndKeepsNone)
{
    const ChildWindow& first = OpenBatch(QByteArray(), u"VelSQLEngine\\Archive");
    ChildWindow& batch = OpenBatch("D100,3,-7\r\nRecipe,8,N\xFCrnberg\nD100,5,2.5");
    EXPECT_EQ(&batch, &first);
    EXPECT_EQ(batch.windowTitle(), u"Batch Write (PLC1)"_s);
    Press(batch, "cmdStart");
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + LineLog(u"Recipe"_s) + LineLog(u"D100"_s));
    EXPECT_TRUE(WaitUntilNothingIsHeld());
    EXPECT_EQ(Item(u"D100"_s)->get_Value(), Variant(qint32{2}));
    EXPECT_EQ(Item(u"Recipe"_s)->get_Value(), Variant(u"Nürnberg"_s));
}

TEST_F(BatchSystem, OtherWindowsLiveOnAndStopIsHeard)
{
    const QPointer<ChildWindow> closed = &Show(PLC1 + u"\\Recipe"_s);
    ChildWindow& item = Show(D100);
    ChildWindow& batch = OpenBatch(QByteArray("D100,3,120\n").repeated(200'000));
    After(300, [&] { closed->close(); });
    bool newestIsSeen = false;
    QTimer watch;
    watch.callOnTimeout([&] {
        if (closed || Cell(item, u"Value"_s) != u"120 (I4)") return; // it is read meanwhile
        LogPane& log = m_Main->Log();
        log.ShowAppended();
        newestIsSeen = log.viewport()->rect().contains(log.cursorRect());
        QTest::mouseClick(&Control<QPushButton>(batch, "cmdStop"), Qt::LeftButton);
    });
    watch.start(50);
    Press(batch, "cmdStart");
    EXPECT_TRUE(newestIsSeen);
    EXPECT_EQ(Panels()[0], u"Ready."_s);
    EXPECT_EQ(ChildWindow::Forms().size(), 2);
    const QStringList log = TakeLog();
    EXPECT_LT(log.size(), 400'000) << "stopped before its end";
    EXPECT_EQ(log.last(2), LineLog(u"D100"_s));
}

} // namespace
