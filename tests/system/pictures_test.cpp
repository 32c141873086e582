#include "additem/frmAddItem.h"
#include "core/modMain.h"
#include "history/frmHistory.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/system/Look.h"
#include "tests/system/SystemConsole.h"

#include <QAction>
#include <QDir>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryFile>
#include <QTimer>
#include <QTreeView>

namespace {

const QString PLC1 = u"VelSQLEngine\\PLC1"_s;

/// Opens every window as an operator would and looks at it. With the environment variable VELSQL_PICTURES set to a folder, a
/// picture of each is written there; scripts/take-pictures.sh does so.
class Pictures : public SystemConsole
{
protected:
    void SetUp() override
    {
        if (qEnvironmentVariable("VELSQL_PALETTE") == u"dark"_s) UseDarkPalette();
        StartBoth();
        m_Main->resize(1200, 800);
        Control<QTreeView>(*m_Main, "treeObject").expand(m_Main->Tree().IndexOf(Node(PLC1)));
    }

    /// A picture of the widget, with its frame when it is a child window.
    void Look(QWidget& window, const QString& name)
    {
        QTest::qWait(700); // two refreshes
        EXPECT_EQ(FaultsOf(window), QStringList()) << qPrintable(name);
        const QString folder = qEnvironmentVariable("VELSQL_PICTURES");
        if (folder.isEmpty()) return;
        auto* frame = qobject_cast<QMdiSubWindow*>(window.parentWidget());
        QWidget& whole = frame ? *frame : window;
        EXPECT_TRUE(whole.grab().save(QDir(folder).filePath(name + u".png"_s)));
    }
    /// Presses what opens a modal dialog, and hands the dialog to `use`, which must close it.
    template <typename Dialog, std::invocable Open, std::invocable<Dialog&> Use>
    void InDialog(Open&& open, Use&& use)
    {
        bool used = false;
        QTimer::singleShot(0, m_Main.get(), [&] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog);
            use(*dialog);
            used = true;
        });
        open();
        EXPECT_TRUE(used);
    }
    void Type(QObject& window, const char* field, const QString& text)
    {
        Control<QLineEdit>(window, field).setText(text);
    }
    QAction& Entry(const char* name) { return Control<QAction>(*m_Main, name); }
};

} // namespace

TEST_F(Pictures, ItemWindowAndMainWindow)
{
    ChildWindow& window = Show(PLC1 + u"\\D100"_s);
    Press(window, "cmdGet");
    Type(window, "txtValue", u"42"_s);
    Press(window, "cmdPut");
    Look(window, u"item-window"_s);
    Look(*m_Main, u"main-window"_s);
}

TEST_F(Pictures, ItemWindowWithAPicture)
{
    ChildWindow& window = Show(PLC1 + u"\\Picture"_s);
    Press(window, "cmdGet");
    Look(window, u"item-picture"_s);
}

TEST_F(Pictures, ControllerWindow)
{
    ChildWindow& window = Show(PLC1);
    Control<QCheckBox>(window, "chkEvent_0").setChecked(true);
    Control<QCheckBox>(window, "chkEvent_1").setChecked(true);
    Press(window, "cmdStart");
    Type(window, "txtExecCmd", u"echo"_s);
    Choose(Control<ListBox>(window, "cmbExecType"), u"BSTR"_s);
    Type(window, "txtExecPara", u"Good morning"_s);
    Press(window, "cmdExecute");
    QTest::qWait(1500);
    Look(window, u"controller-window"_s);
}

TEST_F(Pictures, EngineWindow)
{
    ChildWindow& window = Show(u"VelSQLEngine");
    Type(window, "txtCommand", u"references"_s);
    Press(window, "cmdExecute");
    Look(window, u"engine-window"_s);
}

TEST_F(Pictures, HistoryWindow)
{
    modMain::Engine->Start();
    QTest::qWait(2500);
    ChildWindow& window = Show(u"VelSQLEngine\\VelSQLHistory");
    Control<StatementEdit>(window, "txtExecute")
        .SetText(u"SELECT item_name, COUNT(*) AS records, MIN(item_value), MAX(item_value), MAX(item_time)\n"
                 u"FROM velsql_history GROUP BY item_name"_s);
    Press(window, "cmdExecute");
    Look(window, u"history-window"_s);
}

TEST_F(Pictures, AddItemDialog)
{
    m_Main->m_CurrentNode = Node(PLC1);
    InDialog<frmAddItem>([&] { Entry("mnuPopupCtrl_6").trigger(); },
                         [&](frmAddItem& dialog) {
                             Type(dialog, "txtItemName", u"Level, smoothed"_s);
                             Type(dialog, "txtDesc", u"Tank level without the waves"_s);
                             Type(dialog, "txtLinkItem", u"PLC1\\Level"_s);
                             Look(dialog, u"additem-general"_s);
                             Control<QTabWidget>(dialog, "sstbAddItem").setCurrentIndex(1);
                             Look(dialog, u"additem-details"_s);
                             dialog.reject();
                         });
}

TEST_F(Pictures, PerformanceCheck)
{
    ChildWindow& window = Show(PLC1 + u"\\D100"_s);
    InDialog<frmPerfChk>([&] { Press(window, "cmdPerfchk"); },
                         [&](frmPerfChk& dialog) {
                             Control<QRadioButton>(dialog, "optPattern_1").click();
                             Type(dialog, "txtPatternCount", u"2000"_s);
                             Press(dialog, "cmdStart");
                             Look(dialog, u"perfcheck-window"_s);
                             dialog.reject();
                         });
}

TEST_F(Pictures, BatchWrite)
{
    QTemporaryFile file(QDir::temp().filePath(u"recipe-XXXXXX.txt"_s));
    ASSERT_TRUE(file.open());
    file.write("D100,3,120\nPump,11,True\nRecipe,8,Lemonade\n");
    file.flush();
    m_Main->m_CurrentNode = Node(PLC1);
    Entry("mnuPopupCtrl_8").trigger();
    ChildWindow& window = *ChildWindow::Forms().last();
    Type(window, "txtFilename", file.fileName());
    Press(window, "cmdStart");
    Look(window, u"batchwrite-window"_s);
}

TEST_F(Pictures, ScriptTool)
{
    QWidget& window = OpenScriptTool();
    Control<QPlainTextEdit>(window, "txtScript")
        .setPlainText(u"' Raises the set point of the dosing pump in steps, until something goes wrong.\n"
                      u"const item = Vlx.Controller(\"PLC1\").Item(\"D100\");\n"
                      u"for (let step = 1; step <= 5; ++step) {\n"
                      u"    item.Value = item.Value + 10;\n"
                      u"    print(`Step ${step}: ${item.Value}`);\n"
                      u"}\n"
                      u"Vlx.Controller(\"PLC9\").Start();\n"_s);
    Press(window, "cmdRun");
    EXPECT_TRUE(QTest::qWaitFor([&] { return Control<QPushButton>(window, "cmdRun").isEnabled(); }, 20'000));
    Look(window, u"script-window"_s);
}
