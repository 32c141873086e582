#include "controller/EventList.h"
#include "controller/frmController.h"
#include "controller/frmEngine.h"
#include "core/automation/SafeArray.h"
#include "core/LabelPane.h"
#include "tests/support/WindowTest.h"

#include <QGroupBox>

namespace {

const QString Subscribe = u"Controller(PLC1).Subscribe()"_s;

/// What a refresh of the grid asks, in order.
QStringList GridCalls()
{
    QStringList calls = u"get_Index() get_Name() get_Description() get_State() get_Count() get_ScanTimes(0) "
                        u"get_ScanTimes(1) get_ScanTimes(2) get_Tag()"_s.split(u' ');
    for (int i = 0; i < 21; ++i) calls << u"get_SettingData(2,%1)"_s.arg(i); // an I2
    for (QString& call : calls) call = u"Controller(PLC1)."_s + call;
    return calls;
}

/// A console that shows the window of PLC1.
class ControllerWindow : public WindowTest<frmController>
{
protected:
    ControllerWindow()
    {
        m_Form = ChildWindow::Open<frmController>(m_Controller);
        m_Main.Widget()->show();
        m_Form->ShowForm();
    }

    FakeServer::Controller& Controller() { return m_Server.FindController(u"PLC1"_s); }
    EventList& Events() { return Control<EventList>("lstLogEvent"); }
    void FireState(qint32 state) { m_Server.FireState(u"PLC1"_s, state); }
    void FireItem(const QString& item) { m_Server.FireItem(u"PLC1"_s, item); }
};

} // namespace

TEST_F(ControllerWindow, AsksInOrderShowsEveryPropertyAndRefreshesOnlyWhileShown)
{
    EXPECT_EQ(TakeCalls(), QStringList{u"Engine.get_Controller(PLC1)"_s} + GridCalls());
    EXPECT_EQ(m_Form->windowTitle(), u"Controller"_s);
    EXPECT_EQ(Control<QGroupBox>("frmCtrl").title(), u"VelSQLController "_s); // the blank is intended
    Controller().Description = u"<b>Mixing</b> & more"_s;
    Controller().Tag = Variant(SafeArray(QList<qint16>{1, 2}));
    Controller().SettingData = Variant(2.5);
    Controller().State = -1;
    m_Server.FailOperation(u"get_Name"_s, u"Gone"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.size() >= 30; }, 20'000));
    EXPECT_EQ(Column("fgCtrl", 1),
              u"0;;<b>Mixing</b> & more;-1 (Unknown);2;100;200;300;1,2 (ARRAY | I2)"_s.split(u';') +
                  QStringList(21, u"2.5"_s));
    Press("cmdHide");
    EXPECT_EQ(TakeCalls(), GridCalls());
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    m_Form->ShowForm();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_Server.m_Calls.isEmpty(); }, 20'000));
    m_Form->Unload();
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(ControllerWindow, AnnouncesItsCommandsButNoRefusedEntryAndEnablesWhatATypeNeeds)
{
    ExpectAnnounced("cmdStart", u"Controller(PLC1).Start()"_s, u"Controller:Start"_s);
    ExpectAnnounced("cmdStop", u"Controller(PLC1).Stop()"_s, u"Controller:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Controller(PLC1).Snapshot()"_s, u"Controller:Snapshot"_s);
    Choose("cmbType", u"ARRAY | BSTR"_s);
    Type("txtValue", u"a,b"_s);
    ExpectAnnounced("cmdPut", u"Controller(PLC1).put_Tag(8200,a,b)"_s, u"Controller:put_Tag"_s);
    Choose("cmbType", u"NULL"_s); // the text stays and is not sent
    ExpectAnnounced("cmdPut", u"Controller(PLC1).put_Tag(1)"_s, u"Controller:put_Tag"_s);

    Type("txtExecCmd", u"run <now>"_s);
    Choose("cmbExecType", u"BSTR"_s);
    Type("txtExecPara", u" a, b "_s);
    const QString result = u"c, <b>\r\n"_s + QString(1'000'000, u'x');
    Controller().ExecuteResult = Variant(result);
    ExpectAnnounced("cmdExecute", u"Controller(PLC1).Execute(run <now>, 8, a, b )"_s, u"Controller:Execute"_s);
    EXPECT_TRUE(Text("txtExecResult") == result) << "the failed one keeps it";
    Controller().ExecuteResult = Variant();
    Press("cmdExecute");
    EXPECT_EQ(List("cmbExecType").currentText() + Text("txtExecResult"), u"EMPTY"_s) << "the result's type";

    TakeCalls(), TakeLog();
    Choose("cmbExecType", u"I4"_s);
    Type("txtExecPara", u"12abc"_s);
    Press("cmdExecute");
    Choose("cmbType", u"I2"_s);
    Type("txtValue", u"70000"_s);
    Press("cmdPut");
    EXPECT_EQ(TakeLog(), QStringList({u"VT_I4: \"12abc\" is not a number"_s,
                                      u"VT_I2: overflow, \"70000\" is outside -32768 to 32767"_s}));
    EXPECT_EQ(TakeCalls(), QStringList());

    const QString needed = u"txtExecPara txtValue cmdExecute"_s; // but not by EMPTY and NULL, nor allowed by (Unknown)
    for (int index = 0; index < 22; ++index) {
        List("cmbExecType").SetListIndex(index);
        List("cmbType").SetListIndex(std::min(index, 20)); // has no (Unknown)
        EXPECT_EQ(EnabledOf(needed), index < 2 ? u"cmdExecute"_s : index < 21 ? needed : needed.section(u' ', 0, 1));
    }
    EXPECT_EQ(List("cmbType").count(), 21);
}

TEST_F(ControllerWindow, HasOneSubscriptionWhileEventsAreWantedAndItIsShown)
{
    const std::pair<std::function<void()>, bool> steps[] = {
        {[this] { m_Server.FailOperation(u"Subscribe"_s, u"Too many"_s), Tick("chkEvent_0"); }, false},
        {[this] { EXPECT_TRUE(QTest::qWaitFor([this] { return m_Server.m_Calls.count(Subscribe) >= 2; })); }, false},
        {[this] { m_Server.FailOperation(u"Subscribe"_s, {}), TakeCalls(), m_Form->ShowForm(); }, true},
        {[this] { Tick("chkEvent_1"), Tick("chkEvent_0", false); }, true},
        {[this] { Press("cmdHide"); }, false},
        {[this] { Tick("chkEvent_1", false), Tick("chkEvent_1"); }, false},
        {[this] { m_Form->ShowForm(); }, true},
        {[this] { Check("chkEvent_1").setCheckState(Qt::PartiallyChecked); }, false}, // grayed is not ticked
    };
    for (int step = 0; const auto& [act, subscribed] : steps) {
        act();
        EXPECT_EQ(m_Server.Subscriptions(), QStringList(subscribed, u"PLC1"_s)) << "after step " << ++step;
    }
    EXPECT_EQ(TakeCalls().count(Subscribe), 2);
    EXPECT_EQ(TakeLog(), QStringList{u"Too many"_s});
}

TEST_F(ControllerWindow, LogsTheEventsThatAreWantedAndCanBeToldInOneLine)
{
    Tick("chkEvent_0");
    FireState(1); // not wanted
    m_Server.FindItem(u"PLC1"_s, u"D200"_s).Value = Variant(Null());
    FireItem(u"D200"_s); // has no plain text
    FireItem(u"removed meanwhile"_s);
    FireItem(u"D100"_s);
    Tick("chkEvent_1");
    for (const qint32 state : {0, 1, 2, 3, 4, 7, -1}) FireState(state); // intended: others have no name
    Tick("chkEvent_0", false);
    TakeCalls();
    FireItem(u"D100"_s);
    EXPECT_EQ(TakeCalls(), QStringList()) << "what is not wanted is not even read";
    QStringList lines;
    for (int i = 0; i < Events().ListCount(); ++i) lines << Events().List(i);
    EXPECT_EQ(lines.join(u'/').remove(u"OnChangeState: State="_s),
              u"OnChangeItem: Name=D100, Value=25/Uninitialized/Active/Deactive/Error/Terminated//"_s);
    EXPECT_EQ(TakeLog() + TakeStatus(), QStringList());
}

TEST_F(ControllerWindow, ItsEventLogOverflowsOnceUntilItIsCleared)
{
    Tick("chkEvent_1");
    for (const QString& status : {u"Message buffer overflow. : PLC1"_s, u"Message buffer overflow."_s}) {
        for (int i = 0; i <= EventList::MostLines; ++i) FireState(1);
        EXPECT_EQ(TakeStatus(), QStringList{status});
        Tick("chkEvent_0");
        TakeCalls();
        FireItem(u"D100"_s);
        FireState(3);
        EXPECT_EQ(TakeCalls() + TakeStatus(), QStringList()) << "later events are not even read";
        Press("cmdHide");
        m_Form->ShowForm(); // does not end it
        FireState(3);
        EXPECT_EQ(Events().ListCount(), 32'767);
        Press("cmdClear");
        EXPECT_EQ(TakeStatus(), QStringList{u"Ready."_s});
        EXPECT_EQ(Events().ListCount(), 0);
        m_Server.FailOperation(u"get_Name"_s, u"Gone"_s); // the name of a lost server is not known
    }
}

using EngineWindow = WindowTest<frmEngine>;

TEST_F(EngineWindow, AnnouncesItsCommandsAndShowsResultsAsPlainTextUnlessTheyHaveNone)
{
    m_Form = ChildWindow::Open<frmEngine>(m_Controller);
    EXPECT_EQ(m_Form->windowTitle(), u"VelSQLEngine"_s);
    EXPECT_EQ(m_Form->m_TreeNode, modMain::EngineNode);
    ExpectAnnounced("cmdStart", u"Engine.Start()"_s, u"Engine:Start"_s);
    ExpectAnnounced("cmdStop", u"Engine.Stop()"_s, u"Engine:Stop"_s);
    ExpectAnnounced("cmdSnapshot", u"Engine.Snapshot()"_s, u"Engine:Snapshot"_s);
    ExpectAnnounced("cmdExecute", u"Engine.Execute()"_s, u"Engine:Execute"_s);
    Type("txtCommand", u"run <now>"_s);
    ExpectAnnounced("cmdExecute", u"Engine.Execute(run <now>)"_s, u"Engine:Execute"_s);

    auto& shown = Control<LabelPane>("lblResult");
    for (const QString& text : {u"<b>a</b>\r\nb\nc"_s, QString(1'000'000, u'w'), QString(), u"before"_s}) {
        m_Server.m_EngineExecuteResult = Variant(text);
        Press("cmdExecute");
        EXPECT_EQ(shown.Text(), text);
    }
    TakeLog();
    m_Server.m_EngineExecuteResult = Variant(Null()); // has no plain text
    Press("cmdExecute");                              // has succeeded all the same
    EXPECT_EQ(TakeLog(), QStringList({u"Calling Engine:Execute..."_s, u"Succeeded."_s, u"Type mismatch"_s}));
    EXPECT_EQ(shown.Text(), u"before"_s);
}
