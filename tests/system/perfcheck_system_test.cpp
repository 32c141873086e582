#include "core/modMain.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/system/SystemConsole.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QTreeWidget>

namespace {

const QString Item = u"Item(PLC1\\D100)."_s;
const QString ReadFailed = u"'IVelSQLItem->get_Value' is failed."_s;

class PerfChkSystem : public SystemConsole
{
protected:
    /// Opens the dialog by the button of D100's window and uses it there.
    template <typename Use>
    void InDialog(Use use)
    {
        StartBoth();
        m_Window = &ShowItem(u"VelSQLEngine\\PLC1\\D100");
        QTimer::singleShot(0, m_Main.get(), [&] {
            m_Dialog = qobject_cast<frmPerfChk*>(QApplication::activeModalWidget());
            ASSERT_TRUE(m_Dialog);
            TakeCalls(); // begins the watch
            use();
            if (m_Dialog) m_Dialog->reject();
        });
        Press(*m_Window, "cmdPerfchk");
    }
    void Choose(const char* option) { Control<QAbstractButton>(*m_Dialog, option).setChecked(true); }
    void Tick(const char* box, bool tick) { Control<QAbstractButton>(*m_Dialog, box).setChecked(tick); }
    /// Runs the check, and the action when it has run for so long.
    template <typename Action>
    void RunAnd(int afterMs, Action action)
    {
        QTimer::singleShot(afterMs, m_Main.get(), action);
        Run();
    }
    void Run() { Press(*m_Dialog, "cmdStart"); }
    void ClickStop() { QTest::mouseClick(&Control<QPushButton>(*m_Dialog, "cmdStop"), Qt::LeftButton); }

    static void Order(const QString& command) { modMain::Engine->Execute(command); }
    /// What the server was asked since the last time, without this question.
    static QStringList TakeCalls()
    {
        QStringList calls = modMain::Engine->Execute(u"calls"_s).Get<QString>().split(u"\r\n"_s, Qt::SkipEmptyParts);
        calls.removeAll(u"Engine.Execute(8)"_s);
        return calls.replaceInStrings(Item, QString());
    }
    /// Actions and values of the result list, which is then cleared.
    QStringList TakeRows()
    {
        const auto& list = Control<QTreeWidget>(*m_Dialog, "lvResult");
        QStringList rows;
        for (int i = 0; i < list.topLevelItemCount(); ++i)
            rows << QString(list.topLevelItem(i)->text(0) + u' ' + list.topLevelItem(i)->text(3)).trimmed();
        Press(*m_Dialog, "cmdClear");
        return rows;
    }

    frmItem* m_Window = nullptr;
    QPointer<frmPerfChk> m_Dialog;
};

TEST_F(PerfChkSystem, CallsWhatTheModeSaysWhileTheItemsWindowRests)
{
    const QString put = u"put_Value(3)"_s;
    const QString get = u"get_Value()"_s;
    InDialog([&] {
        SystemConsole::Choose(Control<ListBox>(*m_Dialog, "cmbValueType"), u"I4"_s);
        Control<QLineEdit>(*m_Dialog, "txtValue").setText(u"7"_s);
        Control<QLineEdit>(*m_Dialog, "txtPatternCount").setText(u"3"_s);
        Order(u"disturb %1get_Value slow 250"_s.arg(Item)); // a run is longer than the pause between two refreshes
        TakeCalls();
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({get, get, get}));
        Order(u"restore"_s);
        TakeCalls();
        Choose("optReadWrite_1");
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({put, put, put}));
        Choose("optReadWrite_2");
        Tick("chkDataCheck", true);
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({put, get, put, get, put, get}));
        EXPECT_EQ(TakeRows(), QStringList({u"START"_s, u"END"_s, u"START"_s, u"END 7"_s, u"START"_s, u"END 7"_s}));
        EXPECT_EQ(Cell(*m_Window, u"Value"_s), u"25 (I4)"_s);
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(*m_Window, u"Value"_s) == u"7 (I4)"; }, 3000)) << "refreshed again";
    EXPECT_EQ(TakeLog(), QStringList());
    EXPECT_EQ(m_Boxes, QStringList());
}

TEST_F(PerfChkSystem, StopsWithinACycleAndClosesOnlyWithTheConsole)
{
    InDialog([&] {
        Choose("optPattern_2");
        for (const QString& disturbance : {u"restore"_s, u"disturb %1get_Value slow 500"_s.arg(Item)}) {
            Order(disturbance);
            TakeCalls();
            QStringList untilStop;
            RunAnd(100, [&] {
                m_Dialog->close();
                EXPECT_TRUE(m_Dialog->isVisible());
                untilStop = TakeCalls();
                ClickStop();
            });
            EXPECT_EQ(untilStop.size() == 1, disturbance != u"restore"_s) << untilStop.size();
            EXPECT_EQ(TakeCalls(), QStringList());
            EXPECT_EQ(TakeRows(), QStringList({u"START"_s, u"END"_s}));
        }
        Order(u"restore"_s);
        RunAnd(100, [&] { m_Main->close(); });
        EXPECT_FALSE(modMain::Engine);
    });
    EXPECT_FALSE(m_Dialog);
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_EQ(m_Boxes, QStringList());
}

TEST_F(PerfChkSystem, AServerThatRefusesDiesOrHangsEndsTheRun)
{
    const QStringList failed = {u"START"_s, u"ERROR OCCURED!"_s};
    InDialog([&] {
        Order(u"disturb %1get_Value fail No."_s.arg(Item));
        Run();
        EXPECT_EQ(TakeRows(), failed);
        Order(u"restore"_s);

        Choose("optPattern_2");
        Tick("chkIgnore", true); // goes on although every call fails
        QElapsedTimer time;
        QTimer::singleShot(600, m_Main.get(), [&] {
            time.start();
            ClickStop();
        });
        RunAnd(100, [&] { m_Server.Kill(); });
        EXPECT_LT(time.elapsed(), 500);
        EXPECT_EQ(TakeRows(), failed);

        m_Server.Start();
        QTest::qWait(1100); // attached at most once a second
        Tick("chkIgnore", false);
        time.start();
        RunAnd(100, [&] { m_Server.Suspend(); });
        EXPECT_LT(time.elapsed(), 10'000);
        EXPECT_EQ(TakeRows(), failed);
        m_Server.Resume();
    });
    EXPECT_EQ(m_Boxes, QStringList(3, ReadFailed));
    EXPECT_EQ(TakeLog(), QStringList());
}

} // namespace
