#include "tests/history/HistoryWindow.h"

using HistoryTest = HistoryWindow;

TEST_F(HistoryTest, ShowsTheSettingsOfBothDestinations)
{
    EXPECT_EQ(Column("grdProperties", 1).join(u';'), u"True;Driver=First;velsql_history;1000;Driver=Second;;0");
}

TEST_F(HistoryTest, InsertsStatementsButNeverTheSeparator)
{
    EXPECT_EQ(Statement().Text(), u"Select * From velsql_history") << "intended: spelled unlike the preset";
    EXPECT_EQ(Statements().List(0), u"SELECT * FROM velsql_history");
    Statements().AddItem(u"A\nB"_s);
    Statements().SetListIndex(7);
    Statement().SetText(u"12\n34"_s);
    QTextCursor caret = Statement().textCursor();
    caret.setPosition(1);
    caret.setPosition(4, QTextCursor::KeepAnchor); // what is selected stays
    Statement().setTextCursor(caret);
    QTest::keyClick(&Statements(), Qt::Key_Return);
    EXPECT_EQ(Statement().Text(), u"12\n3A\nB4");

    Statements().SetListIndex(6);
    Press("cmdOverwrite");
    QTest::keyClick(&Statements(), Qt::Key_Enter);
    EXPECT_EQ(Statement().Text(), u"12\n3A\nB4") << "a separator is not a statement";
}

TEST_F(HistoryTest, ShowsTheRowsIfThereAreAnyAndRemembersTheStatement)
{
    const QString statement = u"SELECT 'a\u00A0b'\n\t-- <b>\n  , '\U0001F600'"_s;
    m_Script.Columns = {u"id"_s, u"name"_s, u"id"_s, QString(), u"<b>x</b>\ny"_s};
    m_Script.Cell = [](qint64 row, int column) {
        return column == 1 ? Variant(Null{}) : Variant(qint32(row * 10 + column));
    };
    TakeStatus();
    EXPECT_EQ(Execute(statement), SuccessLog);
    EXPECT_EQ(TakeCalls(), QStringList{u"History.Execute("_s + statement + u')'});
    EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, u"Execute..."_s, u"Ready."_s, u"Ready."_s}));
    EXPECT_EQ(Statements().List(7), statement);
    Execute(statement.toLower());
    Execute(u"select * FROM velsql_HISTORY"_s);
    EXPECT_EQ(Statements().ListCount(), 8) << "upper and lower case mean nothing";
    Press("cmdHide");
    m_Form->ShowForm();
    EXPECT_EQ(Row(-1), u"id;name;id;;<b>x</b> y");
    EXPECT_EQ(Row(3), u"30;NULL;32;33;34");
    EXPECT_EQ(Model().headerData(999, Qt::Vertical), 1000);
    EXPECT_EQ(RowsText(), u"1000 rows");
    m_Script.Progress = {0, true, {}};
    m_Script.Columns = {u"a"_s};
    EXPECT_EQ(Execute(), SuccessLog);
    EXPECT_EQ(Row(-1) + RowsText(), u"a0 rows"_s);
    Press("cmdExecute"); // the server answers without a result
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(Row(-1) + RowsText(), QString());
    EXPECT_EQ(Living(), 0);
}

TEST_F(HistoryTest, EveryFailureKeepsThePreviousResult)
{
    const QString lost = u"the server went away"_s, broken = u"near \"SELEC\": syntax error\r\nUnable to execute"_s;
    Execute(u"first"_s);
    Grid().setColumnWidth(1, 77);
    const auto expectFailure = [&](const QString& description) {
        EXPECT_EQ(Execute(u"second"_s).join(u"\r\n"), SuccessLog[0] + u"\r\n"_s + description);
        EXPECT_EQ(Row(1) + RowsText(), u"1;name 11000 rows");
        EXPECT_EQ(Grid().columnWidth(1), 77);
        EXPECT_EQ(Statements().ListCount(), 8) << "not remembered";
        EXPECT_EQ(Living(), 2) << "the result and its page";
    };
    m_Server.FailOperation(u"Execute"_s, broken);
    expectFailure(broken);
    m_Server.FailOperation(u"Execute"_s, QString());
    for (const QStringView call : {u"Columns", u"Progress", u"PageOf"}) {
        m_Script.Fail(call, lost);
        expectFailure(lost);
    }
    modMain::History.reset();
    expectFailure(u"There is no history."_s);
}

TEST_F(HistoryTest, NothingElseStartsWhileAStatementRunsAndTheWindowMayGo)
{
    auto& button = Control<QPushButton>("cmdExecute");
    button.setFocus();
    m_Script.BeforeCall = [&](QStringView) {
        EXPECT_FALSE(button.isEnabled());
        EXPECT_TRUE(QGuiApplication::overrideCursor() && *QGuiApplication::overrideCursor() == Qt::WaitCursor);
        if (m_Server.m_Calls.size() == 1) WhenEventsRun([&] { QTest::mouseClick(&button, Qt::LeftButton); });
    };
    EXPECT_EQ(Execute(), SuccessLog);
    EXPECT_EQ(TakeCalls().size(), 1) << "an impatient operator's clicks are lost";
    EXPECT_EQ(m_Form->focusWidget(), &button);

    m_Script.BeforeCall = [&](QStringView) {
        QMetaObject::invokeMethod(m_Form, &ChildWindow::Unload, Qt::QueuedConnection);
    };
    EXPECT_EQ(Execute(), SuccessLog);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(m_Form);
    EXPECT_EQ(Living(), 0);
}
