#include "additem/frmAddItem.h"
#include "core/DesktopColours.h"
#include "core/modMain.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/system/SystemConsole.h"
#include "trend/window/frmTrend.h"

#include <QDir>
#include <QMdiSubWindow>
#include <QTableView>
#include <QTabWidget>

namespace {

/// Opens every window as an operator would and writes a picture of each into the folder that VELSQL_PICTURES names;
/// scripts/take-pictures.sh runs it.
class Pictures : public SystemConsole
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(qEnvironmentVariableIsSet("VELSQL_PICTURES")) << "scripts/take-pictures.sh says where to";
        if (qEnvironmentVariable("VELSQL_PALETTE") == u"dark"_s)
            QApplication::setPalette(DesktopColours::DarkPalette());
        StartBoth();
        m_Main->resize(1200, 800);
        Control<ObjectTreeView>(*m_Main, "treeObject").Expand(m_Main->Tree().IndexOf(Node(PLC1)));
    }

    /// A picture of the widget, with its frame when it is a child window.
    void Take(QWidget& window, const QString& name)
    {
        QTest::qWait(700); // two refreshes
        auto* frame = qobject_cast<QMdiSubWindow*>(window.parentWidget());
        QWidget& whole = frame ? *frame : window;
        EXPECT_TRUE(whole.grab().save(QDir(qEnvironmentVariable("VELSQL_PICTURES")).filePath(name + u".png"_s)));
    }
};

TEST_F(Pictures, ItemWindowsAndMainWindow)
{
    ChildWindow& window = Show(D100);
    Press(window, "cmdGet");
    Type(window, "txtValue", u"42"_s);
    Press(window, "cmdPut");
    Take(window, u"item-window"_s);
    Take(*m_Main, u"main-window"_s);
    window.close();
    ChildWindow& picture = Show(PLC1 + u"\\Picture"_s);
    Press(picture, "cmdGet");
    Take(picture, u"item-picture"_s);
}

TEST_F(Pictures, ControllerWindow)
{
    ChildWindow& window = Show(PLC1);
    Tick(window, "chkEvent_0");
    Tick(window, "chkEvent_1");
    Press(window, "cmdStart");
    Type(window, "txtExecCmd", u"echo"_s);
    Choose(window, "cmbExecType", u"BSTR"_s);
    Type(window, "txtExecPara", u"Good morning"_s);
    Press(window, "cmdExecute");
    QTest::qWait(1500);
    Take(window, u"controller-window"_s);
}

TEST_F(Pictures, EngineWindow)
{
    ChildWindow& window = Show(u"VelSQLEngine");
    Type(window, "txtCommand", u"references"_s);
    Press(window, "cmdExecute");
    Take(window, u"engine-window"_s);
}

TEST_F(Pictures, HistoryWindow)
{
    modMain::Engine->Start();
    QTest::qWait(2500);
    Take(Query(u"SELECT item_name, COUNT(*) AS records, MIN(item_value), MAX(item_value), MAX(item_time)\n"
               u"FROM velsql_history GROUP BY item_name"_s),
         u"history-window"_s);
}

TEST_F(Pictures, AddItemDialog)
{
    InDialog<frmAddItem>([this] { ChooseInPopup(PLC1, "mnuPopupCtrl_6"); },
                         [this](frmAddItem& dialog) {
                             Type(dialog, "txtItemName", u"Level, smoothed"_s);
                             Type(dialog, "txtDesc", u"Tank level without the waves"_s);
                             Type(dialog, "txtLinkItem", u"PLC1\\Level"_s);
                             Take(dialog, u"additem-general"_s);
                             Control<QTabWidget>(dialog, "sstbAddItem").setCurrentIndex(1);
                             Take(dialog, u"additem-details"_s);
                         });
}

TEST_F(Pictures, PerformanceCheck)
{
    ChildWindow& window = Show(D100);
    InDialog<frmPerfChk>([&] { Press(window, "cmdPerfchk"); },
                         [this](frmPerfChk& dialog) {
                             Tick(dialog, "optPattern_1");
                             Type(dialog, "txtPatternCount", u"2000"_s);
                             Press(dialog, "cmdStart");
                             Take(dialog, u"perfcheck-window"_s);
                         });
}

TEST_F(Pictures, BatchWrite)
{
    ChildWindow& window = OpenBatch("D100,3,120\nPump,11,True\nRecipe,8,Lemonade\n");
    Press(window, "cmdStart");
    Take(window, u"batchwrite-window"_s);
}

/// A minute of the demo plant, measured.
TEST_F(Pictures, Trend)
{
    modMain::Engine->Start();
    constexpr Micros Second = MicrosASecond;
    QTest::qWait(70'000);
    SavedView view;
    for (const auto& [item, unit] : {std::pair(u"Level"_s, u"%"_s),
                                     {u"Temperature"_s, u"°C"_s},
                                     {u"Pressure"_s, u"bar"_s},
                                     {u"Valve"_s, u""_s},
                                     {u"Recipe"_s, u""_s}}) {
        PenSettings pen;
        pen.Controller = u"PLC1"_s;
        pen.Item = item;
        pen.Unit = unit;
        pen.Colour = PenColours[view.Pens.size()];
        pen.HasOwnAxis = item == u"Pressure";
        view.Pens.push_back(pen);
    }
    view.Pens[0].Limits = {80};
    const Micros now = QDateTime::currentMSecsSinceEpoch() * 1000;
    view.Of.Shown = {now - 60 * Second, now};
    view.Of.Cursors = {now - 42 * Second, now - 18 * Second};
    auto* const trend =
        new frmTrend([socket = m_Server.SocketPath()] { return std::make_unique<RemoteLibrary>(socket, QString()); });
    trend->Open(view);
    trend->resize(1400, 760);
    trend->show();
    QTest::qWait(8000);
    Take(*trend, u"trend-window"_s);
    trend->findChild<QAction*>(u"mnuMeasure_Clear"_s)->trigger(); // the list then has the whole width
    Take(Control<QTableView>(*trend, "fgPen"), u"trend-list"_s);
    delete trend;
}

TEST_F(Pictures, ScriptTool)
{
    QWidget& window = RunScript(u"' Raises the set point of the dosing pump in steps, until something goes wrong.\n"
                                u"const item = Vlx.Controller(\"PLC1\").Item(\"D100\");\n"
                                u"for (let step = 1; step <= 5; ++step) {\n"
                                u"    item.Value = item.Value + 10;\n"
                                u"    print(`Step ${step}: ${item.Value}`);\n"
                                u"}\n"
                                u"Vlx.Controller(\"PLC9\").Start();\n"_s);
    EXPECT_TRUE(WaitForScript(window));
    Take(window, u"script-window"_s);
}

} // namespace
