#include "tests/mainwindow/Console.h"

#include <QContextMenuEvent>

TEST_F(Console, AClickMakesTheNodeCurrentAndTheRightButtonOpensItsPopup)
{
    StartActive();
    AddItemNode(u"D900"_s);
    const std::tuple<QString, QString, QString, bool> cases[] = {
        // node, its children, its pop-up, and whether it can be removed
        {u"VelSQLEngine"_s, u"3"_s, u"mnuPopupEng"_s, false},
        {PLC1, u"3"_s, u"mnuPopupCtrl"_s, false},
        {D100, u"0"_s, u"mnuPopupItem"_s, false},
        {PLC1 + u"\\D900"_s, u"0"_s, u"mnuPopupItem"_s, true},
        {u"VelSQLEngine\\VelSQLHistory"_s, u"0"_s, u"mnuPopupHstry"_s, false},
    };
    for (const auto& [key, count, popup, canRemove] : cases) {
        SCOPED_TRACE(key.toStdString());
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
            m_Main->m_CurrentNode.reset();
            Click(Node(key), button);
            EXPECT_EQ(Current(), Node(key));
            EXPECT_EQ(m_Main->SelectedNode(), Node(key));
            EXPECT_EQ(Panels(), (QStringList{u"Ready."_s, Node(key)->Text(), count}));
            EXPECT_EQ(TakePopup(), button == Qt::LeftButton ? QString() : popup);
        }
        m_Main->RefreshTlbar();
        m_Main->RefreshMenuBar();
        EXPECT_TRUE(IsEnabled("mnuEdit_0") == canRemove && IsEnabled("btnRemove") == canRemove);
        EXPECT_EQ(popup == u"mnuPopupItem" && IsEnabled("mnuPopupItem_4"), canRemove);
    }
    EXPECT_EQ(TakeCalls(), QStringList()); // the tree never asks the server
}

TEST_F(Console, ANodeIsHitByMouseOrKeyboardButNeverByCodeNorBesideIt)
{
    StartActive();
    const QPoint empty(20, Tree().viewport()->height() - 5);
    const QPoint expander = PlaceOf(Node(PLC1)) - QPoint(18, 0);
    m_Main->SelectNode(Node(D100));
    m_Main->m_CurrentNode = Node(D100);
    Trigger("mnuView_0"); // the tree's double-click
    for (const QPoint& place : {empty, expander}) {
        Click(Node(D100));
        DoubleClick(place);
        Trigger("mnuView_0");
        EXPECT_EQ(Current(), Node(D100));
    }
    QTest::mouseClick(Tree().viewport(), Qt::RightButton, {}, empty);
    EXPECT_EQ(TakePopup() + Windows().join(u' '), QString());
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, {}, expander - QPoint(Tree().Indentation() - 5, 0));
    EXPECT_EQ(Current(), Node(PLC1)) << "left of the expander it is the row";

    Click(Node(D100));
    m_Server.FailCall(2, u"Item is gone."_s);
    for (int press = 0; press < 2; ++press) Trigger("mnuView_0");
    EXPECT_EQ(Log(), u"0 : Item is gone.\r\n"_s) << "once";
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D100)"_s});
}

TEST_F(Console, SelectionFollowsThePressOnly)
{
    StartActive();
    const QPoint first = PlaceOf(Node(D100));
    for (int press = 1; press <= 2; ++press) { // the second time it is selected already
        Drag(*Tree().viewport(), first, PlaceOf(Node(u"VelSQLEngine\\PLC2")));
        EXPECT_EQ(m_Main->SelectedNode(), Node(D100)); // dragged, but clicked there
    }
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, Qt::ControlModifier, first);
    EXPECT_TRUE(Tree().selectionModel()->isSelected(m_Main->Tree().IndexOf(Node(D100))));
}

TEST_F(Console, TheKeyboardWorksTheTree)
{
    StartActive();
    Click(Node(D100), Qt::RightButton);
    TakePopup();
    QTest::keyClick(&Tree(), Qt::Key_Down);
    EXPECT_EQ(Current(), Node(D200));
    EXPECT_EQ(Panel(2), u"D200"_s);
    EXPECT_EQ(TakePopup(), QString()) << "only the mouse button opens it";
    QTest::keyClick(&Tree(), Qt::Key_Return);
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QApplication::sendEvent(&Tree(), &menuKey);
    EXPECT_EQ(TakePopup(), u"mnuPopupItem"_s);
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D200)"_s});
}
