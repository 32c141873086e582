#include "core/LogPane.h"
#include "core/modMain.h"
#include "tests/mainwindow/Console.h"

#include <QLineEdit>

namespace {

const QStringList StartCalls{
    u"VelSQLLib.CreateEngine()"_s,    u"Engine.get_ControllerNames()"_s,
    u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).get_ItemNames()"_s,
    u"Engine.get_Controller(PLC2)"_s, u"Controller(PLC2).get_ItemNames()"_s,
    u"Engine.get_History()"_s,
};

const QStringList StartKeys{
    u"VelSQLEngine VelSQLEngine"_s,     u"VelSQLEngine\\PLC1 Controller"_s,
    u"VelSQLEngine\\PLC1\\D100 Item"_s, u"VelSQLEngine\\PLC1\\D200 Item"_s,
    u"VelSQLEngine\\PLC2 Controller"_s, u"VelSQLEngine\\VelSQLHistory VelSQLHistory"_s,
};

} // namespace

TEST_F(Console, StartDrawsTheServersObjectsAndShowsTheWindow)
{
    Start();
    ASSERT_TRUE(m_Main);
    EXPECT_TRUE(m_Main->isVisible());
    EXPECT_EQ(m_Server.m_Calls, StartCalls);
    EXPECT_EQ(Keys(), StartKeys);
    EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, u"Object"_s, u"Count"_s})); // two keep their captions until a click
    EXPECT_EQ(Log(), QString());
    EXPECT_EQ(m_Main->SelectedNode(), modMain::EngineNode);
    EXPECT_EQ(Current(), modMain::EngineNode);
    EXPECT_TRUE(Tree().isExpanded(m_Main->Tree().IndexOf(modMain::EngineNode)));
    EXPECT_TRUE(modMain::History);
    EXPECT_EQ(modMain::HistoryNode->Key(), u"VelSQLEngine\\VelSQLHistory"_s);
    EXPECT_EQ(m_Server.m_LiveObjects, 2); // engine and history; no controller is kept
}

TEST_F(Console, AnEngineWithoutControllersStillHasItsHistory)
{
    m_Server.m_Controllers.clear();
    Start();
    EXPECT_EQ(Keys(), (QStringList{StartKeys.first(), StartKeys.last()}));
    Click(modMain::EngineNode);
    EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, u"VelSQLEngine"_s, u"1"_s}));
}

TEST_F(Console, NamesAreShownAsTheyAre)
{
    const QString odd = u"<b>A&B</b>\\Größe %1 [*]"_s;
    m_Server.m_Controllers = {{odd, {{odd}}}, {odd}};
    Start();
    EXPECT_EQ(Keys().mid(1, 3), (QStringList{u"VelSQLEngine\\"_s + odd + u" Controller"_s,
                                             u"VelSQLEngine\\"_s + odd + u'\\' + odd + u" Item"_s,
                                             u"VelSQLEngine\\"_s + odd + u" Controller"_s}));
    DoubleClick(PlaceOf(m_Main->Tree().Root()->Child(0)->Child(0)));
    ASSERT_EQ(ChildWindow::Forms().size(), 1);
    EXPECT_EQ(Panel(2), odd);
    EXPECT_EQ(Windows(),
              QStringList{QString(u"Controller("_s + odd + u").Item("_s + odd + u')').replace(u"[*]"_s, u"[*][*]"_s)});
}

TEST_F(Console, WithoutEngineOneBoxIsShownAndNoWindow)
{
    m_Server.FailOperation(u"CreateEngine"_s, u"No <b>server</b>.\nReally."_s);
    Start();
    EXPECT_FALSE(m_Main);
    EXPECT_EQ(m_Boxes, QStringList{u"plain 0 OK VelSQLTester: No <b>server</b>.\nReally."_s});
    EXPECT_EQ(m_Server.m_Calls, StartCalls.first(1));
    EXPECT_FALSE(modMain::GetMainWindow());
}

TEST_F(Console, AFailureWhileTheTreeIsDrawnShowsItAsFarAsItGot)
{
    const int nodes[] = {1, 2, 2, 5, 5, 5}; // after the failure of call 2, 3, ...
    for (int call = 2; call <= StartCalls.size(); ++call) {
        SCOPED_TRACE(call);
        m_Server.FailCall(call, u"Call failed."_s);
        Start();
        ASSERT_TRUE(m_Main && m_Main->isVisible());
        EXPECT_EQ(TakeCalls(), StartCalls.first(call));
        EXPECT_EQ(TakeBoxes(), QStringList{u"plain 0 OK VelSQLTester: Call failed."_s});
        EXPECT_EQ(Keys(), StartKeys.first(nodes[call - 2]));
        EXPECT_EQ(Panel(1), u"Drowing TreeView...."_s); // spelled so on purpose
        EXPECT_EQ(Current(), modMain::EngineNode);
        Control<LogPane>("txtLog").setFocus();
        QTest::qWait(120);
        EXPECT_FALSE(IsEnabled("btnShow")) << "nothing checks the focus";
        m_Main->close();
        m_Main.reset();
        EXPECT_EQ(m_Server.m_LiveObjects, 0);
    }
}

TEST_F(Console, NamesThatAreNoTextsEndTheDrawing)
{
    m_Server.m_ListedControllers = Variant();
    Start();
    EXPECT_EQ(m_Boxes, QStringList{u"plain 0 OK VelSQLTester: Type mismatch"_s});
    EXPECT_EQ(Keys(), StartKeys.first(1));
}

TEST_F(Console, ClosingClosesTheChildWindowsAndThenLetsTheServerGo)
{
    StartActive();
    DoubleClick(PlaceOf(Node(u"VelSQLEngine\\PLC1\\D100")));
    DoubleClick(PlaceOf(Node(u"VelSQLEngine\\PLC1\\D200")));
    ChildWindow::Forms().constFirst()->HideForm();
    ASSERT_EQ(Windows().size(), 2);
    const auto tool = std::make_shared<FakeScriptTool>();
    modMain::ScriptTool = tool;
    const QString log = Log();

    m_Main->close();
    EXPECT_FALSE(m_Main->isVisible());
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_EQ(tool->m_Calls, QStringList{u"RemoveObject Vlx, 0 windows, engine"_s}); // windows first, the engine last
    EXPECT_FALSE(modMain::ScriptTool || modMain::History || modMain::Engine || modMain::HistoryNode ||
                 modMain::EngineNode);
    EXPECT_EQ(m_Server.m_LiveObjects, 0);
    EXPECT_EQ(Log(), log);
    EXPECT_EQ(Panel(1), u"Ready."_s);
    EXPECT_EQ(m_Boxes, QStringList());
    m_Main->close(); // closing twice unloads once
    EXPECT_EQ(tool->m_Calls.size(), 1);
}

TEST_F(Console, AScriptToolThatFailsDoesNotKeepTheServer)
{
    StartActive();
    const auto tool = std::make_shared<FakeScriptTool>();
    tool->m_Fails = true;
    modMain::ScriptTool = tool;
    Trigger("mnuFile_0");
    EXPECT_FALSE(m_Main->isVisible());
    EXPECT_EQ(modMain::ScriptTool, tool); // released only when its name could be dropped
    EXPECT_EQ(m_Server.m_LiveObjects, 0);
    EXPECT_EQ(Log() + m_Boxes.join(u' '), QString());
    m_Main.reset();
    EXPECT_FALSE(modMain::ScriptTool);
}
