#include "tests/history/HistoryWindow.h"

#include <QApplication>

namespace {

const QStringList SuccessLog = {u"Calling History:Execute..."_s, u"Succeeded."_s};

QStringList FailureLog(const QString& description)
{
    return {SuccessLog[0], description};
}

/// The end of every statement, failed or not.
class HistoryExecute : public HistoryWindow
{
protected:
    void ExpectReady()
    {
        EXPECT_TRUE(Control<QPushButton>("cmdExecute").isEnabled());
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
        EXPECT_EQ(m_Main.Status(), u"Ready.");
    }
};

TEST_F(HistoryExecute, ShowsTheRowsAndRemembersTheStatement)
{
    Open();
    m_Script.Columns = {u"id"_s, u"name"_s, u"id"_s, QString(), u"<b>x</b>\ny"_s};
    m_Script.Cell = [](qint64 row, int column) {
        return column == 1 ? Variant(Null{}) : Variant(qint32(row * 10 + column));
    };
    Execute(u"SELECT 1"_s);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(TakeCalls(), QStringList{u"History.Execute(SELECT 1)"_s});
    EXPECT_EQ(m_Main.m_StatusTexts, QStringList({u"Ready."_s, u"Execute..."_s, u"Ready."_s, u"Ready."_s}));
    ExpectReady();
    EXPECT_EQ(Header(), QStringList({u"id"_s, u"name"_s, u"id"_s, QString(), u"<b>x</b> y"_s}));
    EXPECT_EQ(Row(3), QStringList({u"30"_s, u"NULL"_s, u"32"_s, u"33"_s, u"34"_s}));
    EXPECT_EQ(Model().rowCount(), 1000);
    EXPECT_EQ(Model().headerData(999, Qt::Vertical), 1000);
    EXPECT_EQ(RowsText(), u"1000 rows");
    EXPECT_EQ(Statements().List(7), u"SELECT 1");
    EXPECT_EQ(Statements().ItemData(7), 0);

    Execute(u"select 1"_s);
    Execute(u"select * FROM velsql_HISTORY"_s);
    EXPECT_EQ(Statements().ListCount(), 8) << "upper and lower case mean nothing";
    EXPECT_EQ(m_Script.LiveResults, 1);
}

TEST_F(HistoryExecute, EveryFailureKeepsThePreviousResult)
{
    Open();
    Execute(u"first"_s);
    Grid().setColumnWidth(1, 77);
    const QString broken = u"near \"SELEC\": syntax error\r\nUnable to execute statement"_s;
    const auto expectPrevious = [&] {
        EXPECT_EQ(Row(1), QStringList({u"1"_s, u"name 1"_s}));
        EXPECT_EQ(Grid().columnWidth(1), 77);
        EXPECT_EQ(RowsText(), u"1000 rows");
        EXPECT_EQ(Statements().ListCount(), 8) << "not remembered";
        EXPECT_EQ(m_Script.LiveResults, 1);
        ExpectReady();
    };
    TakeLog();
    m_Server.FailOperation(u"Execute"_s, broken);
    Execute(u"SELEC"_s);
    EXPECT_EQ(TakeLog().join(u"\r\n"), SuccessLog[0] + u"\r\n"_s + broken);
    expectPrevious();
    m_Server.FailOperation(u"Execute"_s, QString());
    for (QString ScriptedResult::Script::*failure :
         {&ScriptedResult::Script::ColumnsFailure, &ScriptedResult::Script::ProgressFailure,
          &ScriptedResult::Script::PageFailure}) {
        m_Script.*failure = u"the server went away"_s;
        Execute(u"second"_s);
        m_Script.*failure = QString();
        EXPECT_EQ(TakeLog(), FailureLog(u"the server went away"_s));
        expectPrevious();
    }
    modMain::History.reset();
    Execute(u"third"_s);
    EXPECT_EQ(TakeLog(), FailureLog(u"There is no history."_s));
    expectPrevious();
}

TEST_F(HistoryExecute, AStatementWithoutRowsEmptiesTheGrid)
{
    Open();
    Execute(u"first"_s);
    TakeLog();
    m_Script.Columns.clear();
    m_Script.Progress = {0, true, {}};
    Execute(u"DELETE FROM x"_s);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_EQ(Model().columnCount(), 0);
    EXPECT_EQ(Model().rowCount(), 0);
    EXPECT_EQ(RowsText(), QString());

    m_Script.Columns = {u"a"_s};
    Execute(u"SELECT a WHERE 0"_s);
    EXPECT_EQ(Header(), QStringList{u"a"_s});
    EXPECT_EQ(RowsText(), u"0 rows");

    Statement().SetText(u"no result object at all"_s);
    Press("cmdExecute");
    EXPECT_EQ(TakeLog(), SuccessLog + SuccessLog);
    EXPECT_EQ(Model().columnCount(), 0);
}

/// Looks at the window while the server works.
class Curious : public ScriptedResult
{
public:
    Curious(Script& script, std::function<void()> look)
        : ScriptedResult(script)
        , m_Look(std::move(look))
    {
    }
    QStringList Columns() override
    {
        m_Look();
        return ScriptedResult::Columns();
    }

private:
    std::function<void()> m_Look;
};

TEST_F(HistoryExecute, NothingElseStartsWhileAStatementRuns)
{
    Open();
    auto& button = Control<QPushButton>("cmdExecute");
    button.setFocus();
    int runs = 0;
    m_Server.m_History.Result = std::make_shared<Curious>(m_Script, [&] {
        ++runs;
        EXPECT_FALSE(button.isEnabled());
        ASSERT_TRUE(QGuiApplication::overrideCursor());
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
        EXPECT_EQ(m_Main.Status(), u"Execute...");
        if (runs > 1) return;
        // An impatient operator: these clicks wait for the call to end.
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            QCoreApplication::postEvent(&button, new QMouseEvent(type, QPointF(5, 5), button.mapToGlobal(QPointF(5, 5)),
                                                                 Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    });
    QTest::mouseClick(&button, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(TakeLog(), SuccessLog);
    EXPECT_TRUE(button.hasFocus() || m_Form->focusWidget() == &button);
    ExpectReady();
}

TEST_F(HistoryExecute, CtrlEnterExecutesFromEveryField)
{
    Open();
    QApplication::setActiveWindow(m_Main.Widget());
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.Widget()));
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        for (QWidget* field : {static_cast<QWidget*>(&Statement()), static_cast<QWidget*>(&Statements()),
                               static_cast<QWidget*>(&Grid())}) {
            field->setFocus();
            QTest::keyClick(field, key, Qt::ControlModifier);
            EXPECT_EQ(TakeLog(), SuccessLog) << field->objectName().toStdString();
        }
    }
    EXPECT_EQ(Statement().Text(), u"Select * From velsql_history") << "and types nothing";
}

TEST_F(HistoryExecute, TheWindowMayGoWhileAStatementRuns)
{
    Open();
    m_Server.m_History.Result = std::make_shared<Curious>(
        m_Script, [&] { QMetaObject::invokeMethod(m_Form, &ChildWindow::Unload, Qt::QueuedConnection); });
    Press("cmdExecute");
    m_Server.m_History.Result.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(m_Form);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(m_Script.LiveResults, 0);
    EXPECT_EQ(TakeLog(), SuccessLog);
}

} // namespace
