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

TEST_F(ControllerEventLog, ThereIsOneSubscriptionWhileEventsAreWantedAndTheWindowIsShown)
{
    const QStringList none, one = {u"PLC1"_s};
    const std::pair<std::function<void()>, QStringList> steps[] = {
        {[this] { m_Server.FailCall(1, u"Too many"_s), Tick("chkEvent_0"); }, none}, // logged, and tried again
        {[this] { m_Form->ShowForm(); }, one},
        {[this] { Tick("chkEvent_1"); }, one},
        {[this] { Tick("chkEvent_0", false); }, one},
        {[this] { Check("chkEvent_1").setCheckState(Qt::PartiallyChecked); }, none}, // grayed is not ticked
        {[this] { Tick("chkEvent_1"); }, one},
        {[this] { Press("cmdHide"); }, none},
        {[this] { m_Form->ShowForm(); }, one},
        {[this] { m_Form->Unload(); }, none},
    };
    for (const auto& [act, subscriptions] : steps) {
        act();
        EXPECT_EQ(m_Server.Subscriptions(), subscriptions) << &subscriptions - &steps[0].second;
    }
    EXPECT_EQ(TakeEventCalls(), QStringList(4, u"Controller(PLC1).Subscribe()"_s));
    EXPECT_EQ(TakeLog(), QStringList{u"Too many"_s});
}

TEST_F(ControllerEventLog, WhatCannotBeSubscribedIsTriedAgainWhileTheWindowIsShownAndLoggedOnce)
{
    m_Server.FailOperation(u"Subscribe"_s, u"Gone"_s);
    Tick("chkEvent_0");
    const auto isTriedAgain = [this] { return m_Server.m_Calls.count(u"Controller(PLC1).Subscribe()"_s) >= 3; };
    EXPECT_TRUE(QTest::qWaitFor(isTriedAgain, 20'000));
    Press("cmdHide");
    TakeCalls();
    Tick("chkEvent_1");
    QTest::qWait(700);
    EXPECT_EQ(TakeEventCalls(), QStringList()) << "nothing while it is hidden";
    m_Form->ShowForm();
    m_Server.FailOperation(u"Subscribe"_s, QString());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Server.m_Subscribers.isEmpty(); }, 20'000));
    EXPECT_EQ(TakeLog(), QStringList{u"Gone"_s});
}

TEST_F(ControllerEventLog, LogsTheEventsThatAreWanted)
{
    Tick("chkEvent_0");
    FireState(1); // not wanted
    FireItem(u"D100"_s);
    Tick("chkEvent_1");
    for (const qint32 state : {0, 1, 2, 3, 4, 7, -1}) FireState(state); // those without a name have none: meant
    Tick("chkEvent_0", false);
    TakeCalls();
    FireItem(u"D100"_s);
    EXPECT_EQ(TakeEventCalls(), QStringList()) << "what is not wanted is not even read";
    Press("cmdHide");
    EXPECT_EQ(Lines().join(u'/').remove(u"OnChangeState: State="_s),
              u"OnChangeItem: Name=D100, Value=25/Uninitialized/Active/Deactive/Error/Terminated//"_s);
    Press("cmdClear");
    EXPECT_EQ(Lines() + TakeLog(), QStringList());
}

TEST_F(ControllerEventLog, DropsItemEventsThatCannotBeToldInOneLine)
{
    Tick("chkEvent_0");
    for (const Variant& value : {Variant(Null()), Variant(SafeArray(QList<qint32>{1})), Variant(ObjectRef())}) {
        m_Server.FindItem(u"PLC1"_s, u"D200"_s).Value = value;
        FireItem(u"D200"_s);
    }
    for (const int call : {1, 2}) {
        m_Server.FailCall(call, u"Gone"_s);
        FireItem(u"D100"_s);
    }
    FireItem(u"removed meanwhile"_s);
    EXPECT_EQ(Lines() + TakeLog() + TakeStatus(), QStringList());
}

TEST_F(ControllerEventLog, OverflowsOnceUntilItIsCleared)
{
    Fill();
    EXPECT_EQ(Events().ListCount(), 32'767);
    EXPECT_EQ(TakeStatus(), QStringList());
    FireState(2);
    EXPECT_EQ(TakeStatus(), QStringList{u"Message buffer overflow. : PLC1"_s});
    Tick("chkEvent_0");
    TakeCalls();
    FireState(3);
    FireItem(u"D100"_s);
    EXPECT_EQ(TakeEventCalls(), QStringList()) << "later events are not even read";
    Press("cmdHide");
    m_Form->ShowForm(); // does not end it
    FireState(3);
    EXPECT_EQ(Events().ListCount(), 32'767);
    EXPECT_EQ(TakeStatus(), QStringList());
    Press("cmdClear");
    EXPECT_EQ(TakeStatus(), QStringList{u"Ready."_s});
    FireState(4);
    EXPECT_EQ(Lines(), QStringList{u"OnChangeState: State=Terminated"_s});

    m_Server.FailOperation(u"get_Name"_s, u"Gone"_s);
    Fill(); // one too many
    EXPECT_EQ(TakeStatus(), QStringList{u"Message buffer overflow."_s}) << "the name of a lost server is not known";
    EXPECT_EQ(TakeLog(), QStringList());
}
