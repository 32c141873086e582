#include "tests/history/HistoryWindow.h"

#include <QApplication>

namespace {

TEST_F(HistoryWindow, ShowsTheSettingsOnceWhateverNodeLedHere)
{
    m_Form->Unload();
    TakeCalls();
    m_Server.FailOperation(u"get_TableName"_s, u"no table"_s);
    m_Form = ChildWindow::Open<frmHistory>(TreeNodeRef());
    EXPECT_EQ(TakeCalls(), QStringList({u"History.get_Enabled()"_s, u"History.get_ConnectionString(1)"_s,
                                        u"History.get_TableName(1)"_s, u"History.get_MaxRecord(1)"_s,
                                        u"History.get_ConnectionString(2)"_s, u"History.get_TableName(2)"_s,
                                        u"History.get_MaxRecord(2)"_s}));
    EXPECT_EQ(m_Form->m_TreeNode, modMain::HistoryNode);
    EXPECT_EQ(Column("grdProperties", 1),
              QStringList({u"True"_s, u"Driver=First"_s, QString(), u"1000"_s, u"Driver=Second"_s, QString(), u"0"_s}));
    EXPECT_EQ(TakeLog(), QStringList());
    m_Form->ShowForm();
    QTest::qWait(700);
    EXPECT_EQ(TakeCalls(), QStringList()) << "nothing is refreshed";
}

TEST_F(HistoryWindow, OverwritesAndInsertsStatementsButNeverTheSeparator)
{
    EXPECT_EQ(Statements().toolTip(), u"SELECT * FROM velsql_history");
    Statements().SetListIndex(4);
    Press("cmdOverwrite");
    EXPECT_EQ(Statement().Text(), u"SELECT * FROM velsql_history ORDER BY item_time ASC");

    Statements().AddItem(u"A\nB"_s);
    Statements().SetListIndex(7);
    Statement().SetText(u"12\n34"_s);
    QTextCursor caret = Statement().textCursor();
    caret.setPosition(1);
    caret.setPosition(4, QTextCursor::KeepAnchor); // what is selected stays
    Statement().setTextCursor(caret);
    QTest::keyClick(&Statements(), Qt::Key_Return);
    EXPECT_EQ(Statement().Text(), u"12\n3A\nB4");
    Statement().undo();
    EXPECT_EQ(Statement().Text(), u"12\n34");

    QAction* insert = Statements().actions().constFirst();
    EXPECT_EQ(Statements().contextMenuPolicy(), Qt::ActionsContextMenu);
    QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(5, 5), Statement().mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(Statement().viewport(), &click);
    QWidget* menu = QApplication::activePopupWidget();
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->actions().constLast(), insert);
    insert->trigger();
    menu->close();
    EXPECT_EQ(Statement().Text(), u"12\n3A\nB4");

    Statements().SetListIndex(6);
    EXPECT_EQ(Statements().toolTip(), u"-----");
    Press("cmdOverwrite");
    QTest::keyClick(&Statements(), Qt::Key_Enter);
    EXPECT_FALSE(insert->isEnabled());
    EXPECT_EQ(Statement().Text(), u"12\n3A\nB4") << "a separator is no statement";
}

TEST_F(HistoryWindow, HidesAndComesBackWithItsResultUntilItGoes)
{
    Execute(u"x"_s);
    Press("cmdHide");
    EXPECT_FALSE(m_Form->isVisible());
    m_Form->ShowForm();
    EXPECT_EQ(Row(1), QStringList({u"1"_s, u"name 1"_s}));
    m_Form->Unload();
    EXPECT_EQ(Held(), std::pair(0L, 0L));
}

} // namespace
