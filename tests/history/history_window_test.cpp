#include "tests/history/HistoryWindow.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

namespace {

TEST_F(HistoryWindow, ShowsTheSettingsOnceAndPresetsInOrder)
{
    m_Server.FailOperation(u"get_TableName"_s, u"no table"_s);
    m_Form = ChildWindow::Open<frmHistory>(TreeNodeRef());
    const QStringList reads = TakeCalls().mid(1);
    EXPECT_EQ(reads, QStringList({u"History.get_Enabled()"_s, u"History.get_ConnectionString(1)"_s,
                                  u"History.get_TableName(1)"_s, u"History.get_MaxRecord(1)"_s,
                                  u"History.get_ConnectionString(2)"_s, u"History.get_TableName(2)"_s,
                                  u"History.get_MaxRecord(2)"_s}));
    EXPECT_EQ(m_Form->m_TreeNode, modMain::HistoryNode) << "whatever node led here";
    QStringList rows = Column("grdProperties", 0);
    for (int row = 0; row < rows.size(); ++row) rows[row] += u'=' + Column("grdProperties", 1)[row];
    EXPECT_EQ(rows, QStringList({u"Enabled=True"_s, u"ConnectionString(1)=Driver=First"_s, u"TableName(1)="_s,
                                 u"MaxRecord(1)=1000"_s, u"ConnectionString(2)=Driver=Second"_s, u"TableName(2)="_s,
                                 u"MaxRecord(2)=0"_s}));
    EXPECT_EQ(ListTexts(),
              QStringList(
                  {u"SELECT * FROM velsql_history"_s, u"SELECT * FROM velsql_history WHERE item_value = '0'"_s,
                   u"SELECT COUNT(*) AS item_count FROM velsql_history GROUP BY controller_name, item_name"_s,
                   u"SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY controller_name, item_name"_s,
                   u"SELECT * FROM velsql_history ORDER BY item_time ASC"_s,
                   u"SELECT * FROM velsql_history ORDER BY item_time DESC"_s, u"-----"_s}));
    EXPECT_EQ(Statements().ListIndex(), 0);
    EXPECT_EQ(Statements().toolTip(), u"SELECT * FROM velsql_history");
    EXPECT_EQ(Statement().Text(), u"Select * From velsql_history") << "spelled unlike the preset: it is meant";
    EXPECT_EQ(TakeLog(), QStringList());

    m_Form->ShowForm();
    QTest::qWait(700);
    EXPECT_EQ(TakeCalls(), QStringList()) << "nothing is refreshed";
}

TEST_F(HistoryWindow, OverwritesAndInsertsStatementsButNeverTheSeparator)
{
    Open();
    Statements().SetListIndex(4);
    Press("cmdOverwrite");
    const QString preset = u"SELECT * FROM velsql_history ORDER BY item_time ASC"_s;
    EXPECT_EQ(Statement().Text(), preset);

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
    Statement().moveCursor(QTextCursor::Start);
    Statement().actions().constFirst()->trigger();
    EXPECT_EQ(Statement().Text(), u"A\nB12\n34") << "in front";

    Statements().SetListIndex(6);
    Press("cmdOverwrite");
    QTest::keyClick(&Statements(), Qt::Key_Enter);
    EXPECT_FALSE(Statements().actions().constFirst()->isEnabled());
    EXPECT_EQ(Statement().Text(), u"A\nB12\n34") << "a separator is no statement";
    EXPECT_EQ(Statements().toolTip(), u"-----");
}

TEST_F(HistoryWindow, OffersInsertInTheMenuOfTheStatement)
{
    Open();
    Statement().SetText(QString());
    QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(5, 5), Statement().mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(Statement().viewport(), &click);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    QAction* last = menu->actions().constLast();
    EXPECT_EQ(last->text(), u"&Insert");
    last->trigger();
    menu->close();
    EXPECT_EQ(Statement().Text(), u"SELECT * FROM velsql_history");
    EXPECT_EQ(Statements().contextMenuPolicy(), Qt::ActionsContextMenu);
    EXPECT_EQ(Statements().actions(), QList<QAction*>{last});
}

TEST_F(HistoryWindow, KeepsEveryCharacterOfAStatement)
{
    Open();
    const QString statement = u"SELECT 'a\u00A0b'\n\t-- <b>\n  , '\U0001F600'"_s;
    Execute(statement);
    EXPECT_EQ(TakeCalls(), QStringList{u"History.Execute("_s + statement + u')'});
    EXPECT_EQ(ListTexts().constLast(), statement);
}

TEST_F(HistoryWindow, HidesAndComesBackWithItsResult)
{
    Open();
    Execute(u"x"_s);
    Press("cmdHide");
    EXPECT_FALSE(m_Form->isVisible());
    m_Form->ShowForm();
    EXPECT_EQ(Row(1), QStringList({u"1"_s, u"name 1"_s}));
    m_Form->Unload();
    EXPECT_EQ(m_Script.LiveResults, 0);
    EXPECT_EQ(m_Script.LivePages, 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(m_Form);
}

} // namespace
