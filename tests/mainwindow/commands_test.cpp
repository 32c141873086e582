#include "core/modFields.h"
#include "core/modMain.h"
#include "tests/mainwindow/Console.h"

#include <QMdiSubWindow>
#include <QMenu>

namespace {

const QString Engine = u"VelSQLEngine"_s;
const QString PLC1 = u"VelSQLEngine\\PLC1"_s;
const QString D100 = u"VelSQLEngine\\PLC1\\D100"_s;

struct ServerCommand
{
    const char* Action;
    QString Key;
    QString Announced;
    QStringList Calls;
};

const ServerCommand ServerCommands[] = {
    {"mnuPopupEng_2", Engine, u"Engine:Start"_s, {u"Engine.Start()"_s}},
    {"mnuPopupEng_3", Engine, u"Engine:Stop"_s, {u"Engine.Stop()"_s}},
    {"mnuPopupEng_4", Engine, u"Engine:Snapshot"_s, {u"Engine.Snapshot()"_s}},
    // The controller's entries say "Controller" and drive the engine.
    {"mnuPopupCtrl_2", PLC1, u"Controller:Start"_s, {u"Engine.Start()"_s}},
    {"mnuPopupCtrl_3", PLC1, u"Controller:Stop"_s, {u"Engine.Stop()"_s}},
    {"mnuPopupCtrl_4", PLC1, u"Controller:Snapshot"_s, {u"Engine.Snapshot()"_s}},
    // The item's snapshot is announced as a controller's.
    {"mnuPopupItem_2",
     D100,
     u"Controller:Snapshot"_s,
     {u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).get_Item(D100)"_s, u"Item(D100).Snapshot()"_s}},
};

QString Entries(const QMenu* menu)
{
    QStringList captions;
    for (const QAction* entry : menu->actions()) captions << (entry->isSeparator() ? u"-"_s : entry->text());
    return menu->title() + u": "_s + captions.join(u", "_s);
}

} // namespace

TEST_F(Console, MenusHoldTheirEntriesInOrder)
{
    Create({});
    QStringList menus;
    for (const char* name : {"mnuFile", "mnuEdit", "mnuView", "mnuTool", "mnuWindow", "mnuHelp", "mnuPopupEng",
                             "mnuPopupCtrl", "mnuPopupItem", "mnuPopupHstry", "mnuPopupLog"}) {
        menus << Entries(&Control<QMenu>(name));
    }
    EXPECT_EQ(menus, (QStringList{
                         u"&File: E&xit"_s,
                         u"&Edit: &Remove Object, -, Clear &Log, -, Cu&t, &Copy, &Paste"_s,
                         u"&View: &Show Object, -, &Object Window, &Log Window"_s,
                         u"&Tool: &VelScript"_s,
                         u"&Window: &Cascade, C&lose All"_s,
                         u"&Help: &Version..."_s,
                         u"Engine: &Show, -, Star&t, Sto&p, S&napshot"_s,
                         u"Controller: &Show, -, Star&t, Sto&p, S&napshot, -, &AddItem..., -, &Batch Write..."_s,
                         u"Item: &Show, -, S&napshot, -, &Remove"_s,
                         u"History: &Show"_s,
                         u"Log: Cu&t, &Copy, &Paste, -, Clear &Log"_s,
                     }));
    QStringList buttons;
    for (const QAction* button : Control<QToolBar>("tlbar").actions())
        buttons << button->objectName() + u'=' + button->text();
    EXPECT_EQ(buttons.join(u' '), u"btnShow=Show btnRemove=Remove btnCut= btnCopy=Copy btnPaste=Paste"_s);
}

TEST_F(Console, PopupCommandsAreAnnouncedAndCalledAndFailuresLogged)
{
    StartActive();
    for (const ServerCommand& command : ServerCommands) {
        const auto calls = static_cast<int>(command.Calls.size());
        for (int failing = 1; failing <= calls + 1; ++failing) { // the last round does not fail
            SCOPED_TRACE(std::string(command.Action) + " " + std::to_string(failing));
            Click(Node(command.Key));
            modMain::ClearTextBox(&m_Main->Log());
            modMain::LogLineCount = 0;
            m_Server.FailCall(failing, u"Call failed."_s);
            Trigger(command.Action);
            m_Server.FailCall(0, {});
            EXPECT_EQ(TakeCalls(), command.Calls.first(std::min(failing, calls)));
            const QString announced = u"0 : Calling %1...\r\n1 : %2\r\n"_s.arg(
                command.Announced, failing > calls ? u"Succeeded."_s : u"Call failed."_s);
            EXPECT_EQ(Log(), failing < calls ? u"0 : Call failed.\r\n"_s : announced);
            EXPECT_EQ(Panel(1), u"Ready."_s);
        }
    }
    EXPECT_EQ(m_Boxes, QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 2);
}

TEST_F(Console, AnAddedItemIsRemovedWithItsWindow)
{
    const TreeNodeRef added = StartWithAddedItem();
    m_Answer = QMessageBox::No;
    Trigger("mnuPopupItem_4");
    EXPECT_EQ(TakeBoxes(), QStringList{u"plain information Yes/No VelSQLTester: Are you sure ?"_s});
    EXPECT_EQ(TakeCalls(), QStringList());
    EXPECT_TRUE(added->IsInTree());

    m_Answer = QMessageBox::Yes;
    Trigger("mnuPopupItem_4");
    EXPECT_EQ(TakeCalls(), (QStringList{u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).RemoveItem(D900)"_s}));
    EXPECT_EQ(Log(), u"0 : Calling Controller:RemoveItem...\r\n1 : Succeeded.\r\n"_s);
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_FALSE(added->IsInTree());
    EXPECT_EQ(Current(), Node(u"VelSQLEngine\\PLC1\\D200")); // what the tree selected
    EXPECT_EQ(m_Main->SelectedNode(), Current());
    EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, u"D200"_s, u"0"_s}));
}

TEST_F(Console, ARemovalThatFailsLeavesTreeAndWindow)
{
    const TreeNodeRef added = StartWithAddedItem();
    const QStringList logs{u"0 : Call failed.\r\n"_s,
                           u"0 : Call failed.\r\n1 : Calling Controller:RemoveItem...\r\n2 : Call failed.\r\n"_s};
    for (int call = 1; call <= 2; ++call) {
        m_Server.FailCall(call, u"Call failed."_s);
        Trigger("btnRemove");
        EXPECT_EQ(Log(), logs[call - 1]);
    }
    EXPECT_TRUE(added->IsInTree());
    EXPECT_EQ(Windows().size(), 1);
    EXPECT_EQ(Current(), added);
}

TEST_F(Console, WhatIsGoneWhenTheQuestionIsAnsweredIsNotRemoved)
{
    StartActive();
    const TreeNodeRef added = AddItemNode(u"D900"_s);
    Click(added);
    m_WhileAsking = [&] { m_Main->Tree().Remove(added); };
    Trigger("mnuPopupItem_4");
    EXPECT_EQ(TakeCalls(), QStringList());

    Click(AddItemNode(u"D901"_s));
    m_WhileAsking = [&] { m_Main->close(); };
    Trigger("mnuPopupItem_4");
    EXPECT_EQ(TakeCalls(), QStringList());
    EXPECT_EQ(Log(), QString());
}

TEST_F(Console, OnlyItemsOfThisConsoleCanBeRemoved)
{
    StartActive();
    for (const QString& key : {Engine, PLC1, D100}) {
        Click(Node(key));
        m_Main->RefreshMenuBar();
        m_Main->RefreshTlbar();
        EXPECT_FALSE(IsEnabled("mnuEdit_0") || IsEnabled("btnRemove"));
        Trigger("mnuPopupItem_4"); // as if it had stayed enabled
    }
    EXPECT_EQ(m_Boxes + TakeCalls(), QStringList());
    EXPECT_EQ(Keys().size(), 6);
}

TEST_F(Console, EntriesBringUpTheirWindowForTheCurrentNode)
{
    QStringList shown;
    const auto note = [&](const QString& what) {
        return [&shown, what, this](const TreeNodeRef& node) { shown << what + u' ' + node->Text() + u' ' + Panel(1); };
    };
    ObjectWindows windows;
    windows.Show = {{NodeTag::Engine, note(u"engine"_s)},
                    {NodeTag::Controller, note(u"controller"_s)},
                    {NodeTag::History, note(u"history"_s)}};
    windows.AddItem = note(u"add"_s);
    windows.BatchWrite = note(u"batch"_s);
    Create(windows);
    m_Main->Form_Load();
    const auto triggerAll = [&] {
        for (const char* entry : {"mnuPopupEng_0", "mnuPopupCtrl_0", "mnuPopupCtrl_6", "mnuPopupCtrl_8",
                                  "mnuPopupItem_0", "mnuPopupHstry_0"}) {
            Trigger(entry);
            EXPECT_EQ(Panel(1), u"Ready."_s);
        }
        return std::exchange(shown, {});
    };
    m_Main->m_CurrentNode = modMain::EngineNode;
    EXPECT_EQ(triggerAll(), (QStringList{u"engine VelSQLEngine Show..."_s, u"history VelSQLHistory Show..."_s}));
    m_Main->m_CurrentNode = Node(PLC1);
    // The history's entry does not look at the node, and batch write says nothing in the status line.
    EXPECT_EQ(triggerAll(), (QStringList{u"controller PLC1 Show..."_s, u"add PLC1 Show..."_s, u"batch PLC1 Ready."_s,
                                         u"history VelSQLHistory Show..."_s}));
    m_Main->m_CurrentNode = Node(D100);
    EXPECT_EQ(triggerAll(), QStringList{u"history VelSQLHistory Show..."_s});
    m_Main->m_CurrentNode.reset();
    Trigger("btnShow");
    EXPECT_EQ(shown, QStringList());
}

TEST_F(Console, TheScriptToolLearnsTheEngineOnce)
{
    const auto tool = std::make_shared<FakeScriptTool>();
    ObjectWindows windows;
    bool fails = true;
    windows.CreateScriptTool = [&] {
        if (std::exchange(fails, false)) throw ServerError(u"No script tool."_s);
        tool->m_Calls << u"Create"_s;
        return tool;
    };
    Create(windows);
    m_Main->Form_Load();
    for (int press = 0; press < 3; ++press) Trigger("mnuTool_0");
    EXPECT_EQ(Log(), u"0 : No script tool.\r\n"_s);
    EXPECT_EQ(tool->m_Calls,
              (QStringList{u"Create"_s, u"AddObject Vlx engine"_s,
                           u"' Welcome\r\n' [Syntax] Vlx.Controller(\"<Controller Name>\").Item(\"<Item Name>\")"_s,
                           u"Show"_s, u"Show"_s}));
    m_Main->close();
    EXPECT_EQ(tool->m_Calls.last(), u"RemoveObject Vlx, 0 windows, engine"_s);
}

TEST_F(Console, WindowsOpenInStepsInsideTheArea)
{
    StartActive();
    m_Main->resize(1200, 850);
    for (const QString& key : {PLC1, D100, PLC1 + u"\\D200"_s}) DoubleClick(PlaceOf(Node(key)));
    const auto frames = m_Main->ChildArea().subWindowList();
    ASSERT_EQ(frames.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const int step = i * frames[i]->contentsMargins().top();
        EXPECT_EQ(frames[i]->pos(), QPoint(step, step));
        EXPECT_TRUE(m_Main->ChildArea().viewport()->rect().contains(frames[i]->geometry()));
    }
    const QPoint place = frames[1]->pos();
    ChildWindow::Forms()[1]->Unload();
    DoubleClick(PlaceOf(Node(D100)));
    EXPECT_EQ(ChildWindow::Forms().last()->parentWidget()->pos(), place);
}

TEST_F(Console, CascadeAndCloseAll)
{
    StartActive();
    for (const QString& name : {u"D100"_s, u"D200"_s}) DoubleClick(PlaceOf(Node(PLC1 + u'\\' + name)));
    const auto frames = m_Main->ChildArea().subWindowList();
    frames[0]->showMaximized();
    QStringList status; // while the command works
    const auto note = [&] { status << Panel(1); };
    QObject::connect(frames[0], &QMdiSubWindow::windowStateChanged, note);
    QObject::connect(&m_Main->ChildArea(), &QMdiArea::subWindowActivated, note);
    Trigger("mnuWindow_0");
    EXPECT_FALSE(frames[0]->isMaximized());
    EXPECT_NE(frames[0]->pos(), frames[1]->pos());
    EXPECT_EQ(Panel(1), u"Ready."_s);

    ChildWindow::Forms().constFirst()->HideForm();
    Trigger("mnuWindow_1");
    status.removeDuplicates();
    EXPECT_EQ(status, (QStringList{u"Windows Cascade..."_s, u"Ready."_s, u"Close Window..."_s}));
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_TRUE(m_Main->isVisible());
    EXPECT_EQ(m_Server.m_LiveObjects, 2);
}

TEST_F(Console, TheVersionBoxNamesTheProgram)
{
    Create({});
    Trigger("mnuHelp_0");
    EXPECT_EQ(m_Boxes,
              QStringList{u"plain 0 OK VelSQLTester: test_mainwindow version "_s + QStringLiteral(VELSQL_VERSION)});
}
