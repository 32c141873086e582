#include "controller/EventList.h"
#include "tests/system/SystemConsole.h"

#include <QMdiSubWindow>

namespace {

class ControllerSystem : public SystemConsole
{
protected:
    void SetUp() override
    {
        StartBoth();
        m_Form = &Show(PLC1);
        Ask(u"state PLC1 2"_s); // nothing is scanned: the only events are those fired here
        for (const char* event : {"chkEvent_0", "chkEvent_1"}) Tick(*m_Form, event);
    }
    void Execute(const QString& command)
    {
        Choose(*m_Form, "cmbExecType", u"EMPTY"_s); // a result leaves its own type
        Type(*m_Form, "txtExecCmd", command);
        Press(*m_Form, "cmdExecute");
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

    QPointer<ChildWindow> m_Form;
};

TEST_F(ControllerSystem, EventsArriveInOrderBetweenCallsAndNoneAfterHide)
{
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

    Press(*m_Form, "cmdClear");
    for (int times = 0; times < 10; ++times) { // what is under way both ways differs
        Execute(u"fire state 1 5000"_s);
        Press(*m_Form, "cmdHide");
        QTest::qWait(50);
        EXPECT_EQ(Lines(), QStringList());
        EXPECT_TRUE(Ask(u"references"_s).contains(u"subscriptions 0"_s));
        EXPECT_EQ(&Show(PLC1), m_Form);
    }
    Execute(u"fire state 9 2"_s);
    EXPECT_TRUE(WaitForLines({u"OnChangeState: State="_s, u"OnChangeState: State="_s}));

    Execute(u"fire item D100 20000"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return Lines().size() > 100; }, 20'000));
    m_Main->findChild<QMdiSubWindow*>()->close(); // while events stream in
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Form; }));
    EXPECT_TRUE(WaitUntilNothingIsHeld());
}

} // namespace
