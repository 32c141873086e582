#include "tests/history/HistoryWindow.h"

#include <QApplication>

namespace {

/// The end of every statement, failed or not.
class HistoryExecute : public HistoryWindow
{
protected:
    void ExpectReady()
    {
        EXPECT_TRUE(IsEnabled("cmdExecute"));
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
        EXPECT_EQ(m_Main.Status(), u"Ready.");
    }
};

TEST_F(HistoryExecute, ShowsTheRowsAndRemembersTheStatement)
{
    const QString statement = u"SELECT 'a\u00A0b'\n\t-- <b>\n  , '\U0001F600'"_s;
    m_Script.Columns = {u"id"_s, u"name"_s, u"id"_s, QString(), u"<b>x</b>\ny"_s};
    m_Script.Cell = [](qint64 row, int column) {
        return column == 1 ? Variant(Null{}) : Variant(qint32(row * 10 + column));
    };
    TakeStatus();
    EXPECT_EQ(Execute(statement), SuccessLog);
    EXPECT_EQ(TakeCalls(), QStringList{u"History.Execute("_s + statement + u')'});
    ExpectReady();
    EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, u"Execute..."_s, u"Ready."_s, u"Ready."_s}));
    EXPECT_EQ(Row(-1), QStringList({u"id"_s, u"name"_s, u"id"_s, QString(), u"<b>x</b> y"_s}));
    EXPECT_EQ(Row(3), QStringList({u"30"_s, u"NULL"_s, u"32"_s, u"33"_s, u"34"_s}));
    EXPECT_EQ(Model().headerData(999, Qt::Vertical), 1000);
    EXPECT_EQ(RowsText(), u"1000 rows");
    EXPECT_EQ(Statements().List(7), statement);
    Execute(statement.toLower());
    Execute(u"select * FROM velsql_HISTORY"_s);
    EXPECT_EQ(Statements().ListCount(), 8) << "upper and lower case mean nothing";
    EXPECT_EQ(Held().first, 1);
}

TEST_F(HistoryExecute, EveryFailureKeepsThePreviousResult)
{
    Execute(u"first"_s);
    Grid().setColumnWidth(1, 77);
    const auto expectFailure = [&](const QString& description) {
        EXPECT_EQ(Execute(u"second"_s).join(u"\r\n"), SuccessLog[0] + u"\r\n"_s + description);
        EXPECT_EQ(Row(1), QStringList({u"1"_s, u"name 1"_s}));
        EXPECT_EQ(Grid().columnWidth(1), 77);
        EXPECT_EQ(RowsText(), u"1000 rows");
        EXPECT_EQ(Statements().ListCount(), 8) << "not remembered";
        EXPECT_EQ(Held().first, 1);
        ExpectReady();
    };
    const QString broken = u"near \"SELEC\": syntax error\r\nUnable to execute statement"_s;
    m_Server.FailOperation(u"Execute"_s, broken);
    expectFailure(broken);
    m_Server.FailOperation(u"Execute"_s, QString());
    for (QString* failure : {&m_Script.ColumnsFailure, &m_Script.ProgressFailure, &m_Script.PageFailure}) {
        *failure = u"the server went away"_s;
        expectFailure(u"the server went away"_s);
        *failure = QString();
    }
    modMain::History.reset();
    expectFailure(u"There is no history."_s);
}

TEST_F(HistoryExecute, AStatementWithoutRowsEmptiesTheGrid)
{
    Execute(u"first"_s);
    m_Script.Columns.clear();
    m_Script.Progress = {0, true, {}};
    EXPECT_EQ(Execute(u"DELETE FROM x"_s), SuccessLog);
    EXPECT_EQ(Row(-1), QStringList());
    EXPECT_EQ(Model().rowCount(), 0);
    EXPECT_EQ(RowsText(), QString());

    m_Script.Columns = {u"a"_s};
    EXPECT_EQ(Execute(u"SELECT a WHERE 0"_s), SuccessLog);
    EXPECT_EQ(Row(-1), QStringList{u"a"_s});
    EXPECT_EQ(RowsText(), u"0 rows");

    Press("cmdExecute"); // the server answers without a result
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(Row(-1), QStringList());
}

TEST_F(HistoryExecute, NothingElseStartsWhileAStatementRuns)
{
    auto& button = Control<QPushButton>("cmdExecute");
    button.setFocus();
    int runs = 0;
    m_Script.WhileExecuting = [&] {
        EXPECT_FALSE(button.isEnabled());
        ASSERT_TRUE(QGuiApplication::overrideCursor());
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
        EXPECT_EQ(m_Main.Status(), u"Execute...");
        if (++runs > 1) return;
        // An impatient operator: these clicks wait for the call to end.
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            QCoreApplication::postEvent(&button, new QMouseEvent(type, QPointF(5, 5), button.mapToGlobal(QPointF(5, 5)),
                                                                 Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    };
    EXPECT_EQ(Execute(u"x"_s), SuccessLog);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(m_Form->focusWidget(), &button);
    ExpectReady();
}

TEST_F(HistoryExecute, TheWindowMayGoWhileAStatementRuns)
{
    m_Script.WhileExecuting = [&] { QMetaObject::invokeMethod(m_Form, &ChildWindow::Unload, Qt::QueuedConnection); };
    EXPECT_EQ(Execute(u"x"_s), SuccessLog);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(m_Form);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(Held().first, 0);
}

TEST_F(HistoryExecute, CtrlEnterExecutesFromEveryFieldAndTypesNothing)
{
    QApplication::setActiveWindow(m_Main.Widget());
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.Widget()));
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter})
        for (QWidget* field : QWidgetList{&Statement(), &Statements(), &Grid()}) {
            field->setFocus();
            QTest::keyClick(field, key, Qt::ControlModifier);
            EXPECT_EQ(TakeLog(), SuccessLog) << field->objectName().toStdString();
        }
    EXPECT_EQ(Statement().Text(), u"Select * From velsql_history") << "spelled unlike the preset: it is meant";
}

} // namespace
