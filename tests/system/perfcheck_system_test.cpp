#include "perfcheck/frmPerfChk.h"
#include "tests/system/SystemConsole.h"

namespace {

TEST_F(SystemConsole, ThePerformanceCheckAsksForNothingButWhatItsModeSaysWhileTheItemsWindowRests)
{
    StartBoth();
    ChildWindow& window = Show(D100);
    const auto run = [&](frmPerfChk& dialog) {
        Choose(dialog, "cmbValueType", u"I4"_s);
        Type(dialog, "txtValue", u"7"_s);
        Type(dialog, "txtPatternCount", u"3"_s);
        Tick(dialog, "optPattern_1");
        Tick(dialog, "optReadWrite_2");
        // The run is longer than the pause between two refreshes.
        Ask(u"disturb Item(PLC1\\D100).get_Value slow 250"_s);
        Ask(u"calls"_s); // begins the watch
        Press(dialog, "cmdStart");
        QTest::qWait(1200); // nor afterwards
        const QString cycle = u"Item(PLC1\\D100).put_Value(3)\r\nItem(PLC1\\D100).get_Value()\r\n"_s;
        EXPECT_EQ(Ask(u"calls"_s), cycle.repeated(3) + u"Engine.Execute(8)"_s);
        EXPECT_EQ(Cell(window, u"Value"_s), u"25 (I4)"_s);
    };
    InDialog<frmPerfChk>([&] { Press(window, "cmdPerfchk"); }, run);
    EXPECT_TRUE(WaitForCell(window, u"Value"_s, u"7 (I4)"_s)) << "refreshed again";
    EXPECT_EQ(TakeLog() + m_Boxes, QStringList());
}

} // namespace
