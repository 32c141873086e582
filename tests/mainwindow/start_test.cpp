#include "tests/mainwindow/Console.h"

namespace {

const QStringList StartCalls =
    u"VelSQLLib.CreateEngine() Engine.get_ControllerNames() Engine.get_Controller(PLC1) "
    u"Controller(PLC1).get_ItemNames() Engine.get_Controller(PLC2) Controller(PLC2).get_ItemNames() "
    u"Engine.get_History()"_s.split(u' ');
const QStringList StartKeys =
    u"VelSQLEngine VelSQLEngine;VelSQLEngine\\PLC1 Controller;VelSQLEngine\\PLC1\\D100 Item;"
    u"VelSQLEngine\\PLC1\\D200 Item;VelSQLEngine\\PLC2 Controller;VelSQLEngine\\VelSQLHistory VelSQLHistory"_s.split(
        u';');

/// The keys of a node and of all below it with their tags, in the tree's order.
QStringList KeysOf(const TreeNodeRef& node)
{
    QStringList keys{node->Key() + u' ' + TagText(node->Tag())};
    for (int row = 0; row < node->ChildCount(); ++row) keys << KeysOf(node->Child(row));
    return keys;
}

/// Notes what it is asked, and what of the console is left when it drops the engine's name.
struct FakeScriptTool : ScriptHost
{
    void Show() override { m_Calls << u"Show"_s; }
    void AddObject(const QString& name, const ObjectRef& object) override
    {
        m_Calls << u"AddObject "_s + name + (object == modMain::Engine ? u" engine"_s : u" other"_s);
    }
    void RemoveObject(const QString& name) override
    {
        m_Calls << u"RemoveObject %1, %2 windows"_s.arg(name).arg(ChildWindow::Forms().size()) +
                       (modMain::Engine ? u", engine"_s : u""_s);
        if (m_Fails) throw ServerError(u"The script tool is gone."_s);
    }
    QString get_Script() override { return u"' Welcome"_s; }
    void put_Script(const QString& script) override { m_Calls << script; }

    QStringList m_Calls;
    bool m_Fails = false;
};

} // namespace

TEST_F(Console, StartDrawsTheServersObjectsAsFarAsItGets)
{
    const int nodes[] = {0, 1, 2, 2, 5, 5, 5}; // after the failure of each call
    for (int call = 1; call <= StartCalls.size(); ++call) {
        SCOPED_TRACE(call);
        m_Server.FailCall(call, u"<b>Call</b> failed."_s);
        Start();
        EXPECT_EQ(TakeBoxes(), QStringList{u"0 OK VelSQLTester: <b>Call</b> failed."_s});
        EXPECT_EQ(TakeCalls(), StartCalls.first(call));
        ASSERT_EQ(bool(m_Main), call > 1) << "no window without an engine";
        if (!m_Main) continue;
        EXPECT_EQ(KeysOf(m_Main->Tree().Root()), StartKeys.first(nodes[call - 1]));
        EXPECT_EQ(Panel(1), u"Drowing TreeView...."_s); // spelled so on purpose
        EXPECT_EQ(Current(), modMain::EngineNode);
        QTest::qWait(120);
        for (const char* entry : {"btnShow", "btnRemove", "btnCut", "btnCopy", "btnPaste", "mnuEdit_0", "mnuEdit_4",
                                  "mnuEdit_5", "mnuEdit_6", "mnuPopupHstry_0"}) {
            EXPECT_TRUE(IsEnabled(entry)) << entry << ": nothing checks what is current";
            Control<QAction>(entry).trigger();
        }
        EXPECT_EQ(Log() + Windows().join(u' ') + TakeBoxes().join(u' '), u"VelSQLEngine"_s);
        m_Main.reset();
        EXPECT_EQ(m_Server.m_LiveObjects, 0);
    }
    m_Server.m_ListedControllers = Variant(); // not an array of texts
    Start();
    EXPECT_EQ(TakeBoxes(), QStringList{u"0 OK VelSQLTester: Type mismatch"_s});
    EXPECT_EQ(KeysOf(m_Main->Tree().Root()), StartKeys.first(1));

    m_Server.m_ListedControllers.reset();
    m_Main.reset();
    TakeCalls();
    Start();
    EXPECT_TRUE(m_Main->isVisible());
    EXPECT_EQ(TakeCalls(), StartCalls);
    EXPECT_EQ(KeysOf(m_Main->Tree().Root()), StartKeys);
    EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, u"Object"_s, u"Count"_s})); // two keep their captions until a click
    EXPECT_TRUE(m_Main->SelectedNode() == modMain::EngineNode && Current() == modMain::EngineNode);
    EXPECT_TRUE(Tree().IsExpanded(m_Main->Tree().IndexOf(modMain::EngineNode)));
    EXPECT_EQ(m_Server.m_LiveObjects, 2); // engine and history; no controller is kept
}

TEST_F(Console, TheScriptToolLearnsTheEngineOnceAndGoesAfterTheWindowsAndBeforeTheServer)
{
    for (const bool toolFails : {false, true}) {
        const auto tool = std::make_shared<FakeScriptTool>();
        tool->m_Fails = toolFails;
        bool fails = true;
        ObjectWindows windows = ConsoleWindows();
        windows.CreateScriptTool = [&] {
            if (std::exchange(fails, false)) throw ServerError(u"No script tool."_s);
            return tool;
        };
        StartWith(windows);
        m_Main->show();
        for (int press = 0; press < 3; ++press) Trigger("mnuTool_0");
        for (const QString& key : {D100, D200}) DoubleClick(key);
        ChildWindow::Forms().constFirst()->HideForm();
        EXPECT_EQ(Windows().size(), 2);

        Trigger("mnuFile_0");
        m_Main->close(); // closing twice unloads once
        EXPECT_EQ(tool->m_Calls,
                  (QStringList{u"AddObject Vlx engine"_s,
                               u"' Welcome\r\n' [Syntax] Vlx.Controller(\"<Controller Name>\").Item(\"<Item Name>\")"_s,
                               u"Show"_s, u"Show"_s, u"RemoveObject Vlx, 0 windows, engine"_s}));
        EXPECT_EQ(modMain::ScriptTool, toolFails ? tool : nullptr); // released only when its name could be dropped
        EXPECT_FALSE(m_Main->isVisible() || modMain::History || modMain::Engine || modMain::HistoryNode ||
                     modMain::EngineNode);
        EXPECT_EQ(m_Server.m_LiveObjects, 0);
        EXPECT_EQ(Log() + Panel(1) + m_Boxes.join(u' '), u"0 : No script tool.\r\nReady."_s);
        m_Main.reset();
        EXPECT_FALSE(modMain::ScriptTool);
        modMain::Reset();
    }
}
