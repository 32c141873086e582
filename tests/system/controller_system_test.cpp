#include "controller/EventList.h"
#include "tests/system/SystemConsole.h"

#include <QMdiSubWindow>

#include <csignal>
#include <thread>

namespace {

class ControllerSystem : public SystemConsole
{
protected:
    void OpenAndWatch(std::initializer_list<const char*> events)
    {
        StartBoth();
        m_Form = &Show(PLC1);
        Ask(u"state PLC1 2"_s); // nothing is scanned: the only events are those fired here
        for (const char* event : events) Tick(*m_Form, event);
    }
    void Execute(const QString& command)
    {
        Type(*m_Form, "txtExecCmd", command);
        Press(*m_Form, "cmdExecute");
        Choose(*m_Form, "cmbExecType", u"EMPTY"_s);
    }
    QStringList Lines()
    {
        QStringList lines;
        const auto& list = Control<EventList>(*m_Form, "lstLogEvent");
        for (int i = 0; i < list.ListCount(); ++i) lines << list.List(i);
        return lines;
    }
    bool WaitForLines(const QStringList& expected)
    {
        return QTest::qWaitFor([&] { return Lines() == expected; }, 20'000);
    }
    static QString Subscriptions() { return Ask(u"references"_s).section(u", "_s, 3, 3); }

    const QStringList ExecuteLog = Called(u"Controller:Execute"_s);
    QPointer<ChildWindow> m_Form;
};

TEST_F(ControllerSystem, EventsArriveInOrderBetweenCallsAndNotInsideThem)
{
    OpenAndWatch({"chkEvent_0", "chkEvent_1"});
    QStringList expected;
    const QStringList states = {u"Uninitialized"_s, u"Active"_s, u"Deactive"_s, u"Error"_s, u"Terminated"_s};
    for (int i = 0; i < 5; ++i) { // more of each than may be on their way at a time
        Execute(u"fire state %1 200"_s.arg(i));
        Execute(u"fire item D100 100"_s);
        expected += QStringList(200, u"OnChangeState: State="_s + states[i]);
        expected += QStringList(100, u"OnChangeItem: Name=D100, Value=25"_s);
    }
    EXPECT_EQ(Lines(), QStringList()) << "none inside a call";
    EXPECT_TRUE(WaitForLines(expected));
    EXPECT_EQ(Subscriptions(), u"subscriptions 1"_s);
}

TEST_F(ControllerSystem, NoEventArrivesAfterHideAndTheNextShowSubscribesAnew)
{
    OpenAndWatch({"chkEvent_1"});
    Execute(u"fire state 1 5000"_s);
    Press(*m_Form, "cmdHide");
    QTest::qWait(300);
    EXPECT_EQ(Lines(), QStringList());
    EXPECT_EQ(Subscriptions(), u"subscriptions 0"_s);
    EXPECT_EQ(&Show(PLC1), m_Form);
    Execute(u"fire state 9 2"_s);
    EXPECT_TRUE(WaitForLines({u"OnChangeState: State="_s, u"OnChangeState: State="_s}));
}

TEST_F(ControllerSystem, ClosedByItsFrameWhileEventsStreamIn)
{
    OpenAndWatch({"chkEvent_0"});
    Execute(u"fire item D100 20000"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return Lines().size() > 100; }, 20'000));
    m_Main->findChild<QMdiSubWindow*>()->close();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Form; }));
    EXPECT_TRUE(WaitUntilNothingIsHeld());
    EXPECT_EQ(TakeLog(), ExecuteLog);
}

TEST_F(ControllerSystem, ResultsOfEveryKindAreShown)
{
    OpenAndWatch({});
    const std::array<QString, 3> results[] = {
        {u"return 18,65535"_s, u"(Unknown)"_s, u"65535"_s},
        {u"object D100"_s, u"(Unknown)"_s, u"..."_s},
        {u"return 8204,{8195,1,2},{0}"_s, u"ARRAY | VARIANT"_s, u"..."_s},
        {u"return 1"_s, u"NULL"_s, QString()},
        {u"return 8,a,b\nc"_s, u"BSTR"_s, u"a,b\nc"_s},
        {u"return 8195,[1..]10,20"_s, u"ARRAY | I4"_s, u"[1..]10,20"_s},
    };
    for (const auto& [command, type, text] : results) {
        Type(*m_Form, "txtExecCmd", command);
        Press(*m_Form, "cmdExecute");
        EXPECT_EQ(Control<ListBox>(*m_Form, "cmbExecType").currentText(), type);
        EXPECT_EQ(Control<QLineEdit>(*m_Form, "txtExecResult").text(), text);
        Choose(*m_Form, "cmbExecType", u"EMPTY"_s);
        EXPECT_EQ(TakeLog(), ExecuteLog);
    }
    Execute(u"fail No <b>way</b>\r\n: ü"_s);
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], u"No <b>way</b>"_s, u": ü"_s}));
}

TEST_F(ControllerSystem, AServerThatDiesWhileExecuteWaitsIsReportedAndItsSuccessorSendsEventsAgain)
{
    OpenAndWatch({"chkEvent_1"});
    std::thread killer([server = static_cast<pid_t>(m_Server.ProcessId())] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        kill(server, SIGKILL);
    });
    Execute(u"sleep 60000"_s);
    killer.join();
    m_Server.Kill();
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], Lost}));
    EXPECT_TRUE(WaitForCell(*m_Form, u"Name"_s, QString()));
    EXPECT_EQ(&Show(u"VelSQLEngine\\Archive"), m_Form) << "a window that cannot load goes silently";
    EXPECT_EQ(TakeLog(), QStringList());

    m_Server.Start();
    EXPECT_TRUE(WaitForCell(*m_Form, u"Name"_s, u"PLC1"_s));
    Execute(u"fire state 3 1"_s);
    EXPECT_TRUE(WaitForLines({u"OnChangeState: State=Error"_s}));
    EXPECT_EQ(TakeLog(), ExecuteLog);
}

TEST_F(ControllerSystem, TheirAccessKeysWinOverTheMenuBars)
{
    StartBoth();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
    for (const auto& [key, field, name] :
         {std::tuple(PLC1, "txtExecCmd", u"Controller"_s), std::tuple(u"VelSQLEngine"_s, "txtCommand", u"Engine"_s)}) {
        ChildWindow& form = Show(key);
        Type(form, field, u"references"_s);
        for (const Qt::Key letter : {Qt::Key_A, Qt::Key_O, Qt::Key_N, Qt::Key_E}) {
            Control<QLineEdit>(form, field).setFocus();
            QTest::keyClick(&Control<QLineEdit>(form, field), letter, Qt::AltModifier);
            QTest::qWait(200); // the button is pressed for a moment
            EXPECT_FALSE(QApplication::activePopupWidget());
        }
        EXPECT_EQ(TakeLog(), Called(name + u":Start"_s) + Called(name + u":Stop"_s) + Called(name + u":Snapshot"_s) +
                                 Called(name + u":Execute"_s));
        QTest::keyClick(&form, Qt::Key_H, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !form.isVisible(); }));
    }
}

} // namespace
