#include "core/modMain.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/system/SystemConsole.h"

#include <QTreeWidget>

namespace {

class PerfChkSystem : public SystemConsole
{
protected:
    /// Opens the dialog by the button of D100's window, for endless reading, and uses it there.
    template <std::invocable Use>
    void InPerfChk(Use&& use)
    {
        StartBoth();
        m_Window = &Show(D100);
        InDialog<frmPerfChk>([&] { Press(*m_Window, "cmdPerfchk"); },
                             [&](frmPerfChk& dialog) {
                                 m_Dialog = &dialog;
                                 Tick(dialog, "optPattern_2");
                                 use();
                             });
    }
    static void MakeReading(const QString& disturbance)
    {
        Ask(u"disturb Item(PLC1\\D100).get_Value "_s + disturbance);
        Ask(u"calls"_s); // begins the watch
    }

    ChildWindow* m_Window = nullptr;
    QPointer<frmPerfChk> m_Dialog;
};

TEST_F(PerfChkSystem, AsksForNothingButWhatTheModeSaysWhileTheItemsWindowRests)
{
    InPerfChk([this] {
        Choose(*m_Dialog, "cmbValueType", u"I4"_s);
        Type(*m_Dialog, "txtValue", u"7"_s);
        Type(*m_Dialog, "txtPatternCount", u"3"_s);
        Tick(*m_Dialog, "optPattern_1");
        Tick(*m_Dialog, "optReadWrite_2");
        MakeReading(u"slow 250"_s); // the run is longer than the pause between two refreshes
        Press(*m_Dialog, "cmdStart");
        QTest::qWait(1200); // nor afterwards
        const QString cycle = u"Item(PLC1\\D100).put_Value(3)\r\nItem(PLC1\\D100).get_Value()\r\n"_s;
        EXPECT_EQ(Ask(u"calls"_s), cycle.repeated(3) + u"Engine.Execute(8)"_s);
        EXPECT_EQ(Cell(*m_Window, u"Value"_s), u"25 (I4)"_s);
    });
    EXPECT_TRUE(WaitForCell(*m_Window, u"Value"_s, u"7 (I4)"_s)) << "refreshed again";
    EXPECT_EQ(TakeLog() + m_Boxes, QStringList());
}

TEST_F(PerfChkSystem, StopsWithinACycleAndClosesOnlyWithTheConsole)
{
    InPerfChk([this] {
        MakeReading(u"slow 500"_s);
        After(100, [this] {
            m_Dialog->close();
            EXPECT_TRUE(m_Dialog->isVisible());
            QTest::mouseClick(&Control<QPushButton>(*m_Dialog, "cmdStop"), Qt::LeftButton);
        });
        Press(*m_Dialog, "cmdStart");
        EXPECT_EQ(Ask(u"calls"_s), u"Item(PLC1\\D100).get_Value()\r\nEngine.Execute(8)"_s) << "nothing else is read";
        const auto& rows = Control<QTreeWidget>(*m_Dialog, "lvResult");
        EXPECT_EQ(rows.topLevelItem(0)->text(0) + rows.topLevelItem(1)->text(0), u"STARTEND"_s);
        After(100, [this] { m_Main->close(); });
        Press(*m_Dialog, "cmdStart");
        EXPECT_FALSE(modMain::Engine);
    });
    EXPECT_FALSE(m_Dialog);
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_EQ(m_Boxes, QStringList());
}

} // namespace
