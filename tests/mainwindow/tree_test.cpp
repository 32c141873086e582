#include "core/modMain.h"
#include "tests/mainwindow/Console.h"

#include <QContextMenuEvent>

namespace {

const QString D100 = u"VelSQLEngine\\PLC1\\D100"_s;

} // namespace

TEST_F(Console, AClickMakesTheNodeCurrentAndTheRightButtonOpensItsPopup)
{
    StartActive();
    AddItemNode(u"D900"_s);
    struct Case
    {
        QString Key, Count, Popup;
        bool CanRemove;
    };
    const Case cases[] = {
        {u"VelSQLEngine"_s, u"3"_s, u"mnuPopupEng"_s, false},
        {u"VelSQLEngine\\PLC1"_s, u"3"_s, u"mnuPopupCtrl"_s, false},
        {D100, u"0"_s, u"mnuPopupItem"_s, false},
        {u"VelSQLEngine\\PLC1\\D900"_s, u"0"_s, u"mnuPopupItem"_s, true},
        {u"VelSQLEngine\\VelSQLHistory"_s, u"0"_s, u"mnuPopupHstry"_s, false},
    };
    for (const Case& node : cases) {
        SCOPED_TRACE(node.Key.toStdString());
        m_Main->m_CurrentNode.reset();
        Click(Node(node.Key));
        EXPECT_EQ(Current(), Node(node.Key));
        EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, Node(node.Key)->Text(), node.Count}));
        EXPECT_EQ(TakePopup(), QString());

        m_Main->m_CurrentNode.reset();
        Click(Node(node.Key), Qt::RightButton);
        EXPECT_EQ(Current(), Node(node.Key));
        EXPECT_EQ(m_Main->SelectedNode(), Node(node.Key));
        EXPECT_EQ(TakePopup(), node.Popup);
        EXPECT_EQ(node.Popup == u"mnuPopupItem" && IsEnabled("mnuPopupItem_4"), node.CanRemove);
    }
    EXPECT_EQ(TakeCalls(), QStringList()); // the tree never asks the server
}

TEST_F(Console, ANodeIsHitByMouseOrKeyboardButNeverByCode)
{
    StartActive();
    const QPoint empty(20, Tree().viewport()->height() - 5);
    const TreeNodeRef item = Node(D100);

    m_Main->m_CurrentNode = item;
    m_Main->SelectNode(item);
    m_Main->RefreshStatusBar();
    EXPECT_EQ(Panel(2), u"D100"_s);
    Trigger("mnuView_0"); // the tree's double-click
    EXPECT_EQ(Windows(), QStringList());

    Click(item);
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, {}, empty);
    DoubleClick(empty);
    Trigger("mnuView_0");
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_EQ(Current(), item);
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, {}, empty);
    EXPECT_EQ(TakePopup(), QString());

    Click(item);
    Trigger("mnuView_0");
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D100)"_s});
}

TEST_F(Console, TheExpanderOfANodeIsNotTheNode)
{
    StartActive();
    const TreeNodeRef controller = Node(u"VelSQLEngine\\PLC1");
    const QRect place = Tree().visualRect(m_Main->Tree().IndexOf(controller));
    DoubleClick({place.left() - 8, place.center().y()});
    EXPECT_EQ(Current(), modMain::EngineNode);
    Trigger("mnuView_0");
    EXPECT_EQ(Panel(2), u"Object"_s);
}

TEST_F(Console, SelectionFollowsThePressOnly)
{
    StartActive();
    QWidget* viewport = Tree().viewport();
    const QPoint first = PlaceOf(Node(D100));
    const QPoint other = PlaceOf(Node(u"VelSQLEngine\\PLC2"));
    QTest::mousePress(viewport, Qt::LeftButton, {}, first);
    QMouseEvent drag(QEvent::MouseMove, other, viewport->mapToGlobal(other), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &drag);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, other);
    EXPECT_EQ(m_Main->SelectedNode(), Node(D100)); // dragged, but clicked there
    EXPECT_EQ(Current(), Node(D100));
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::ControlModifier, first);
    EXPECT_TRUE(Tree().selectionModel()->isSelected(m_Main->Tree().IndexOf(Node(D100))));
}

TEST_F(Console, TheKeyboardWorksTheTree)
{
    StartActive();
    Tree().setFocus();
    Click(Node(D100), Qt::RightButton);
    TakePopup();
    QTest::keyClick(&Tree(), Qt::Key_Down);
    EXPECT_EQ(Current(), Node(u"VelSQLEngine\\PLC1\\D200"));
    EXPECT_EQ(Panel(2), u"D200"_s);
    EXPECT_EQ(TakePopup(), QString()) << "only the mouse button opens it";
    QTest::keyClick(&Tree(), Qt::Key_Return);
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D200)"_s});
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QApplication::sendEvent(&Tree(), &menuKey);
    EXPECT_EQ(TakePopup(), u"mnuPopupItem"_s);
}

TEST_F(Console, ShowBringsUpOneWindowPerNode)
{
    StartActive();
    DoubleClick(PlaceOf(Node(D100)));
    ASSERT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D100)"_s});
    ChildWindow* form = ChildWindow::Forms().constFirst();
    EXPECT_EQ(form->m_TreeNode, Node(D100));
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(Log(), QString());
    EXPECT_EQ(Panel(1), u"Ready."_s);

    form->HideForm();
    Trigger("btnShow");
    Click(Node(D100), Qt::RightButton);
    Trigger("mnuPopupItem_0");
    EXPECT_EQ(ChildWindow::Forms(), QList<ChildWindow*>{form});
    EXPECT_TRUE(form->isVisible());
}

TEST_F(Console, AnItemWindowThatCannotLoadIsLoggedOnce)
{
    StartActive();
    m_Server.FailOperation(u"get_Item"_s, u"Item is gone."_s);
    DoubleClick(PlaceOf(Node(D100)));
    EXPECT_EQ(Windows(), QStringList());
    EXPECT_EQ(Log(), u"0 : Item is gone.\r\n"_s);
    EXPECT_EQ(Panel(1), u"Ready."_s);
    EXPECT_EQ(m_Server.m_LiveObjects, 2);
}
