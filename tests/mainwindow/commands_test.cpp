#include "tests/mainwindow/Console.h"

#include <QMdiSubWindow>
#include <QMenu>
#include <QMimeData>

TEST_F(Console, MenusAndToolbarReadAsOperatorsKnowThem)
{
    StartActive();
    QStringList captions;
    for (const char* menu : {"mnuEdit", "mnuView", "mnuTool", "mnuPopupCtrl", "mnuPopupItem", "tlbar"}) {
        captions << QString();
        for (const QAction* entry : Control<QWidget>(menu).actions())
            captions.last() += entry->isSeparator() ? u"- "_s : entry->text() + u", "_s;
    }
    EXPECT_EQ(captions, QStringList({u"&Remove Object, - Clear &Log, - Cu&t, &Copy, &Paste, "_s,
                                     u"&Show Object, - &Object Window, &Log Window, "_s, u"&VelScript, "_s,
                                     u"&Show, - Star&t, Sto&p, S&napshot, - &AddItem..., - &Batch Write..., "_s,
                                     u"&Show, - S&napshot, - &Remove, "_s,
                                     u"Show, Remove, , Copy, Paste, "_s})); // the third has none, on purpose
    Trigger("mnuHelp_0");
    EXPECT_EQ(m_Boxes, QStringList{u"0 OK VelSQLTester: test_mainwindow version " VELSQL_VERSION ""_s});
}

TEST_F(Console, PopupCommandsAreAnnouncedAndCalledAndFailuresLogged)
{
    // On purpose: a controller's entries say "Controller" and drive the engine; an item's snapshot says "Controller".
    const std::tuple<const char*, QString, QString, QString> commands[] = {
        {"mnuPopupEng_2", u"VelSQLEngine"_s, u"Engine:Start"_s, u"Engine.Start()"_s},
        {"mnuPopupEng_3", u"VelSQLEngine"_s, u"Engine:Stop"_s, u"Engine.Stop()"_s},
        {"mnuPopupEng_4", u"VelSQLEngine"_s, u"Engine:Snapshot"_s, u"Engine.Snapshot()"_s},
        {"mnuPopupCtrl_2", PLC1, u"Controller:Start"_s, u"Engine.Start()"_s},
        {"mnuPopupCtrl_3", PLC1, u"Controller:Stop"_s, u"Engine.Stop()"_s},
        {"mnuPopupCtrl_4", PLC1, u"Controller:Snapshot"_s, u"Engine.Snapshot()"_s},
        {"mnuPopupItem_2", D100, u"Controller:Snapshot"_s,
         u"Engine.get_Controller(PLC1) Controller(PLC1).get_Item(D100) Item(D100).Snapshot()"_s},
    };
    StartActive();
    for (const auto& [action, key, announced, calls] : commands) {
        Click(Node(key));
        Trigger(action);
        EXPECT_EQ(TakeCalls().join(u' '), calls) << action;
        EXPECT_EQ(TakeLog(), QStringList({u"Calling %1..."_s.arg(announced), u"Succeeded."_s}));
        EXPECT_EQ(Panel(1), u"Ready."_s);
    }
    for (const int failing : {2, 3}) { // of the item's snapshot, which is announced before its third call
        m_Server.FailCall(failing, u"Call failed."_s);
        Trigger("mnuPopupItem_2");
    }
    EXPECT_EQ(TakeLog(), QStringList({u"Call failed."_s, u"Calling Controller:Snapshot..."_s, u"Call failed."_s}));
    EXPECT_EQ(m_Server.m_LiveObjects, 2); // engine and history
}

TEST_F(Console, ItemsAreTakenToATrendByKeyAndByMouse)
{
    QStringList started;
    ObjectWindows windows;
    windows.StartTrend = [&](const QStringList& items) {
        started << items.join(u',');
        if (items.isEmpty()) throw DescribedError(u"velsqltrend is not there."_s);
    };
    StartWith(windows);
    m_Main->show();
    m_Main->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
    for (const QString& key : {D100, PLC1}) {
        Click(Node(key));
        QTest::keyClick(&Tree(), Qt::Key_T, Qt::ControlModifier);
    }
    EXPECT_EQ(started, QStringList({u"PLC1\\D100"_s, QString()}));
    EXPECT_EQ(TakeLog().last(), u"velsqltrend is not there."_s);
    const auto& model = *static_cast<ObjectTreeModel*>(Tree().model());
    const std::unique_ptr<QMimeData> dragged(model.mimeData({model.IndexOf(Node(D100)), model.IndexOf(Node(PLC1))}));
    EXPECT_EQ(dragged->text(), u"PLC1\\D100"_s);
    EXPECT_FALSE(model.flags(model.IndexOf(Node(PLC1))) & Qt::ItemIsDragEnabled);
}

TEST_F(Console, AnAddedItemIsRemovedWithItsWindowWhenNothingFails)
{
    StartActive();
    const TreeNodeRef added = AddItemNode(u"<b>&[*]"_s);
    DoubleClick(PlaceOf(added));
    EXPECT_EQ(Panel(2), u"<b>&[*]"_s);
    ChildWindow::Forms().constFirst()->HideForm(); // it does not ask the server
    TakeCalls();
    m_Answer = QMessageBox::No;
    Trigger("mnuPopupItem_4");
    EXPECT_EQ(TakeBoxes(), QStringList{u"1 Yes No VelSQLTester: Are you sure ?"_s});
    EXPECT_EQ(TakeCalls(), QStringList());
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(<b>&[*][*])"_s}); // one [*] would be Qt's mark
    m_Answer = QMessageBox::Yes;
    for (const int failing : {1, 2, 0}) {
        TakeCalls();
        m_Server.FailCall(failing, u"Call failed."_s);
        Trigger("btnRemove");
        EXPECT_TRUE(failing ? Current() == added && Windows().size() == 1 : Windows().isEmpty());
    }
    const QString calling = u"Calling Controller:RemoveItem..."_s;
    EXPECT_EQ(TakeLog(), QStringList({u"Call failed."_s, calling, u"Call failed."_s, calling, u"Succeeded."_s}));
    EXPECT_EQ(TakeCalls(), (QStringList{u"Engine.get_Controller(PLC1)"_s, u"Controller(PLC1).RemoveItem(<b>&[*])"_s}));
    EXPECT_EQ(Current(), Node(D200)); // what the tree selected
    EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, u"D200"_s, u"0"_s}));

    const TreeNodeRef node = AddItemNode(u"D900"_s);
    for (const bool closes : {false, true}) {
        Click(closes ? AddItemNode(u"D901"_s) : node);
        m_WhileAsking = [&] { closes ? void(m_Main->close()) : m_Main->Tree().Remove(node); };
        Trigger("mnuEdit_0");
    }
    EXPECT_EQ(TakeCalls(), QStringList()) << "what is gone when the question is answered is not removed";
}

TEST_F(Console, WindowsOpenSideBySideAndCascadeAndCloseTogether)
{
    StartActive();
    m_Main->resize(1700, 900);
    for (const QString& key : {D100, D200, PLC1}) DoubleClick(key);
    const auto frames = m_Main->ChildArea().subWindowList();
    ASSERT_EQ(frames.size(), 3);
    for (const QMdiSubWindow* frame : frames)
        EXPECT_TRUE(m_Main->ChildArea().viewport()->rect().contains(frame->geometry()));
    EXPECT_FALSE(frames[0]->geometry().intersects(frames[1]->geometry()));
    EXPECT_NE(frames[2]->pos(), frames[0]->pos());

    frames[0]->showMaximized();
    Trigger("mnuWindow_0");
    EXPECT_FALSE(frames[0]->isMaximized());
    ChildWindow::Forms().constFirst()->HideForm();
    Trigger("mnuWindow_1");
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 2);
}
