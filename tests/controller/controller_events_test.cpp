#include "controller/EventList.h"
#include "controller/frmController.h"
#include "core/automation/SafeArray.h"
#include "tests/controller/ControllerConsole.h"

namespace {

class ControllerEventLog : public ControllerConsole
{
protected:
    ControllerEventLog()
    {
        Open<frmController>();
        m_Main.Widget()->show();
        m_Form->ShowForm();
    }

    EventList& Events() { return Control<EventList>("lstLogEvent"); }
    QStringList Lines()
    {
        QStringList lines;
        for (int i = 0; i < Events().ListCount(); ++i) lines << Events().List(i);
        return lines;
    }
    void FireState(qint32 state) { m_Server.FireState(u"PLC1"_s, state); }
    void FireItem(const QString& item) { m_Server.FireItem(u"PLC1"_s, item); }
    /// The calls but for the grid's.
    QStringList TakeEventCalls()
    {
        QStringList calls = TakeCalls();
        calls.removeIf([](const QString& call) { return call.startsWith(u"Controller(PLC1).get_"); });
        return calls;
    }
    void Fill()
    {
        Tick("chkEvent_1");
        for (int i = 0; i < EventList::MostLines; ++i) FireState(1);
    }
};

} // namespace

TEST_F(ControllerEventLog, ThereIsOneSubscriptionAtMost)
{
    const QStringList one = {u"PLC1"_s};
    EXPECT_EQ(m_Server.Subscriptions(), QStringList());
    Tick("chkEvent_0");
    EXPECT_EQ(m_Server.Subscriptions(), one);
    Tick("chkEvent_1");
    EXPECT_EQ(m_Server.Subscriptions(), one);
    m_Form->ShowForm();
    EXPECT_EQ(m_Server.Subscriptions(), one);
    Tick("chkEvent_0", false);
    EXPECT_EQ(m_Server.Subscriptions(), one);
    Tick("chkEvent_1", false);
    EXPECT_EQ(m_Server.Subscriptions(), QStringList());
    EXPECT_EQ(TakeEventCalls(), QStringList{u"Controller(PLC1).Subscribe()"_s});

    Check("chkEvent_1").setCheckState(Qt::PartiallyChecked); // grayed is not ticked
    EXPECT_EQ(m_Server.Subscriptions(), QStringList());
    Tick("chkEvent_1");
    Press("cmdHide");
    EXPECT_EQ(m_Server.Subscriptions(), QStringList());
    m_Form->ShowForm();
    EXPECT_EQ(m_Server.Subscriptions(), one);
    m_Form->Unload();
    EXPECT_EQ(m_Server.Subscriptions(), QStringList());
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerEventLog, ARefusedSubscriptionIsLoggedAndTriedAgain)
{
    m_Server.FailOperation(u"Subscribe"_s, u"Too many"_s);
    Tick("chkEvent_0");
    EXPECT_EQ(TakeLog(), QStringList{u"Too many"_s});
    m_Server.FailOperation(u"Subscribe"_s, QString());
    m_Form->ShowForm();
    EXPECT_EQ(m_Server.Subscriptions(), QStringList{u"PLC1"_s});
}

TEST_F(ControllerEventLog, LogsTheEventsThatAreWanted)
{
    Tick("chkEvent_0");
    FireState(1); // not wanted
    FireItem(u"D100"_s);
    Tick("chkEvent_1");
    for (const qint32 state : {0, 1, 2, 3, 4, 7, -1}) FireState(state);
    Tick("chkEvent_0", false);
    TakeCalls();
    FireItem(u"D100"_s); // not wanted: not even read
    EXPECT_EQ(TakeEventCalls(), QStringList());

    const QString state = u"OnChangeState: State="_s;
    EXPECT_EQ(Lines(),
              QStringList({u"OnChangeItem: Name=D100, Value=25"_s, state + u"Uninitialized"_s, state + u"Active"_s,
                           state + u"Deactive"_s, state + u"Error"_s, state + u"Terminated"_s, state, state}));
    EXPECT_TRUE(QTest::qWaitFor([this] { return Events().currentIndex().row() == 7; }, 2000)) << "the last one";
    EXPECT_EQ(TakeLog(), QStringList());
    Press("cmdHide");
    EXPECT_EQ(Lines().size(), 8) << "lines stay while the window is hidden";
    Press("cmdClear");
    EXPECT_EQ(Lines(), QStringList());
    EXPECT_EQ(m_Main.Status(), u"Ready."_s);
}

TEST_F(ControllerEventLog, DropsItemEventsThatCannotBeToldInOneLine)
{
    Tick("chkEvent_0");
    auto& item = m_Server.FindItem(u"PLC1"_s, u"D200"_s);
    for (const Variant& value : {Variant(Null()), Variant(SafeArray(QList<qint32>{1})), Variant(ObjectRef())}) {
        item.Value = value;
        FireItem(u"D200"_s);
    }
    for (const int call : {1, 2}) {
        m_Server.FailCall(call, u"Gone"_s);
        FireItem(u"D100"_s);
    }
    FireItem(u"removed meanwhile"_s);
    item.Value = Variant();
    FireItem(u"D200"_s);
    EXPECT_EQ(Lines(), QStringList{u"OnChangeItem: Name=D200, Value="_s});
    EXPECT_EQ(TakeLog(), QStringList());
    EXPECT_EQ(m_Main.Status(), QString());
}

TEST_F(ControllerEventLog, OverflowsOnceUntilItIsCleared)
{
    Fill();
    EXPECT_EQ(Events().ListCount(), 32'767);
    EXPECT_EQ(TakeStatus(), QStringList());
    FireState(2);
    EXPECT_EQ(TakeStatus(), QStringList{u"Message buffer overflow. : PLC1"_s});
    TakeCalls();
    Tick("chkEvent_0");
    FireState(3);
    FireItem(u"D100"_s);
    EXPECT_EQ(TakeEventCalls(), QStringList()) << "later events are not even read";
    EXPECT_EQ(TakeStatus(), QStringList());
    EXPECT_EQ(Events().ListCount(), 32'767);

    Press("cmdHide");
    m_Form->ShowForm();
    FireState(3);
    EXPECT_EQ(Events().ListCount(), 32'767) << "hiding does not end it";
    Press("cmdClear");
    EXPECT_EQ(TakeStatus(), QStringList{u"Ready."_s});
    FireState(4);
    EXPECT_EQ(Lines(), QStringList{u"OnChangeState: State=Terminated"_s});
}

TEST_F(ControllerEventLog, TheOverflowIsToldWithoutTheNameOfALostServer)
{
    Fill();
    m_Server.FailOperation(u"get_Name"_s, u"Gone"_s);
    FireState(2);
    EXPECT_EQ(TakeStatus(), QStringList{u"Message buffer overflow."_s});
    EXPECT_EQ(TakeLog(), QStringList());
}
