#include "additem/frmAddItem.h"
#include "controller/EventList.h"
#include "controller/frmController.h"
#include "controller/frmEngine.h"
#include "core/automation/SafeArray.h"
#include "core/LabelPane.h"
#include "tests/support/WindowTest.h"

#include <QGroupBox>

namespace {

const QString LookUp = u"Engine.get_Controller(PLC1)"_s;
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

/// A console with the window of PLC1.
class ControllerWindow : public WindowTest<frmController>
{
protected:
    FakeServer::Controller& Controller() { return m_Server.FindController(u"PLC1"_s); }

    /// Forgets the calls that loading took.
    void Open(bool shown = false)
    {
        m_Form = ChildWindow::Open<frmController>(m_Controller);
        TakeCalls();
        if (!shown) return;
        m_Main.Widget()->show();
        m_Form->ShowForm();
    }
    /// The values of rows 0 to 8 between semicolons; the other 21 hold `settingData`.
    QString Cells(const QString& settingData)
    {
        const QStringList cells = Column("fgCtrl", 1);
        EXPECT_EQ(cells.mid(9), QStringList(21, settingData));
        return cells.first(9).join(u';');
    }
    QStringList Lines()
    {
        const auto& list = Control<EventList>("lstLogEvent");
        QStringList lines;
        for (int i = 0; i < list.ListCount(); ++i) lines << list.List(i);
        return lines;
    }
    void FireState(qint32 state) { m_Server.FireState(u"PLC1"_s, state); }
    void FireItem(const QString& item) { m_Server.FireItem(u"PLC1"_s, item); }
    bool WaitForCalls(qsizetype n)
    {
        return QTest::qWaitFor([&] { return m_Server.m_Calls.size() >= n; }, 20'000);
    }
};

} // namespace

TEST_F(ControllerWindow, AsksInOrderAndShowsEveryProperty)
{
    Controller().Description = u"<b>Mixing</b> & more"_s;
    Controller().Tag = Variant(SafeArray(QList<qint16>{1, 2}));
    Controller().SettingData = Variant(2.5);
    Controller().State = -1;
    m_Form = ChildWindow::Open<frmController>(m_Controller);
    EXPECT_EQ(TakeCalls(), QStringList{LookUp} + GridCalls());
    EXPECT_EQ(Cells(u"2.5"_s), u"0;PLC1;<b>Mixing</b> & more;-1 (Unknown);2;100;200;300;1,2 (ARRAY | I2)"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Controller"_s);
    EXPECT_EQ(Control<QGroupBox>("frmCtrl").title(), u"VelSQLController "_s); // the blank is intended
    EXPECT_FALSE(m_Form->isVisible());
    m_Form->Unload();
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";

    QTest::qWait(20); // the next layout lets events run at once
    WhenEventsRun([] { ChildWindow::UnloadAll(); });
    EXPECT_EQ(ChildWindow::Open<frmController>(m_Controller), nullptr);
    EXPECT_EQ(TakeCalls(), QStringList{LookUp});
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerWindow, RefreshesOnlyWhileShownAndNeverLogs)
{
    Open(true);
    Controller().SettingData = Variant(Null()); // no plain text
    for (const char* operation : {"get_Description", "get_State", "get_ScanTimes", "get_Tag"})
        m_Server.FailOperation(QString::fromLatin1(operation), u"Gone"_s);
    ASSERT_TRUE(WaitForCalls(30));
    EXPECT_EQ(TakeCalls(), GridCalls());
    EXPECT_EQ(Cells(QString()), u"0;PLC1;;;2;;;;"_s);
    Press("cmdHide");
    QTest::qWait(600);
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    m_Form->ShowForm();
    EXPECT_TRUE(WaitForCalls(1));
}

TEST_F(ControllerWindow, AnnouncesItsCommandsButNoRefusedEntryAndEnablesWhatATypeNeeds)
{
    Open();
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

    for (int index = 0; index < 22; ++index) {
        List("cmbExecType").SetListIndex(index);
        List("cmbType").SetListIndex(std::min(index, 20)); // has no (Unknown)
        for (const char* field : {"txtExecPara", "txtValue"})
            EXPECT_EQ(IsEnabled(field), index > 1) << index;     // EMPTY, NULL
        EXPECT_EQ(IsEnabled("cmdExecute"), index < 21) << index; // (Unknown)
    }
    EXPECT_EQ(List("cmbType").count(), 21);
}

TEST_F(ControllerWindow, OpensADialogThatAddsItemsToThisController)
{
    Open();
    WhenEventsRun([&] {
        auto* dialog = qobject_cast<frmAddItem*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        EXPECT_EQ(dialog->m_TreeNode, m_Controller);
        dialog->m_csCtrl->Snapshot();
        EXPECT_EQ(TakeCalls().constLast(), u"Controller(PLC1).Snapshot()"_s);
        ChildWindow::UnloadAll(); // the window may go first
        dialog->reject();
    });
    Press("cmdAddItem");
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
}

TEST_F(ControllerWindow, HasOneSubscriptionWhileEventsAreWantedAndItIsShown)
{
    Open(true);
    const std::pair<std::function<void()>, bool> steps[] = {
        {[this] { m_Server.FailOperation(u"Subscribe"_s, u"Too many"_s), Tick("chkEvent_0"); }, false},
        {[this] { EXPECT_TRUE(WaitForCalls(40)); }, false},              // tried again with the next refresh
        {[this] { EXPECT_GE(TakeCalls().count(Subscribe), 2); }, false}, // but not logged again
        {[this] { m_Server.FailOperation(u"Subscribe"_s, {}), m_Form->ShowForm(); }, true},
        {[this] { Tick("chkEvent_1"); }, true},
        {[this] { Tick("chkEvent_0", false); }, true},
        {[this] { Check("chkEvent_1").setCheckState(Qt::PartiallyChecked); }, false}, // grayed is not ticked
        {[this] { Press("cmdHide"), Tick("chkEvent_1"); }, false},
        {[this] { m_Form->ShowForm(); }, true},
        {[this] { Press("cmdHide"); }, false},
        {[this] { m_Form->ShowForm(); }, true},
        {[this] { m_Form->Unload(); }, false},
    };
    for (const auto& [act, subscribed] : steps) {
        act();
        EXPECT_EQ(m_Server.Subscriptions(), subscribed ? QStringList{u"PLC1"_s} : QStringList())
            << &subscribed - &steps[0].second;
    }
    EXPECT_EQ(TakeCalls().count(Subscribe), 3);
    EXPECT_EQ(TakeLog(), QStringList{u"Too many"_s});
}

TEST_F(ControllerWindow, LogsTheEventsThatAreWantedAndCanBeToldInOneLine)
{
    Open(true);
    Tick("chkEvent_0");
    FireState(1); // not wanted
    for (const Variant& value : {Variant(Null()), Variant(SafeArray(QList<qint32>{1})), Variant(ObjectRef())}) {
        m_Server.FindItem(u"PLC1"_s, u"D200"_s).Value = value;
        FireItem(u"D200"_s);
    }
    for (const int call : {1, 2}) {
        m_Server.FailCall(call, u"Gone"_s);
        FireItem(u"D100"_s);
    }
    FireItem(u"removed meanwhile"_s);
    FireItem(u"D100"_s);
    Tick("chkEvent_1");
    for (const qint32 state : {0, 1, 2, 3, 4, 7, -1}) FireState(state); // intended: others have no name
    Tick("chkEvent_0", false);
    TakeCalls();
    FireItem(u"D100"_s);
    EXPECT_EQ(TakeCalls(), QStringList()) << "what is not wanted is not even read";
    EXPECT_EQ(Lines().join(u'/').remove(u"OnChangeState: State="_s),
              u"OnChangeItem: Name=D100, Value=25/Uninitialized/Active/Deactive/Error/Terminated//"_s);
    EXPECT_EQ(TakeLog() + TakeStatus(), QStringList());
}

TEST_F(ControllerWindow, ItsEventLogOverflowsOnceUntilItIsCleared)
{
    Open(true);
    Tick("chkEvent_1");
    for (const QString& status : {u"Message buffer overflow. : PLC1"_s, u"Message buffer overflow."_s}) {
        for (int i = 0; i < EventList::MostLines; ++i) FireState(1);
        EXPECT_EQ(TakeStatus(), QStringList());
        FireState(2);
        EXPECT_EQ(TakeStatus(), QStringList{status});
        Tick("chkEvent_0");
        TakeCalls();
        FireItem(u"D100"_s);
        FireState(3);
        EXPECT_EQ(TakeCalls() + TakeStatus(), QStringList()) << "later events are not even read";
        Press("cmdHide");
        m_Form->ShowForm(); // does not end it
        FireState(3);
        EXPECT_EQ(Lines().size(), 32'767);
        Press("cmdClear");
        EXPECT_EQ(TakeStatus(), QStringList{u"Ready."_s});
        EXPECT_EQ(Lines() + TakeLog(), QStringList());
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
    const QSize size = m_Form->sizeHint();
    for (const QString& text : {u"<b>a</b>\r\nb\nc"_s, QString(1'000'000, u'w'), QString(), u"before"_s}) {
        m_Server.m_EngineExecuteResult = Variant(text);
        Press("cmdExecute");
        EXPECT_EQ(shown.Text(), text);
        EXPECT_EQ(shown.textCursor().position(), 0) << "its beginning is in sight";
        EXPECT_EQ(m_Form->sizeHint(), size);
    }
    for (const Variant& result : {Variant(Null()), Variant(ObjectRef()), Variant(SafeArray(QList<qint32>{1}))}) {
        TakeLog();
        m_Server.m_EngineExecuteResult = result;
        Press("cmdExecute"); // has succeeded all the same
        EXPECT_EQ(TakeLog(), QStringList({u"Calling Engine:Execute..."_s, u"Succeeded."_s, u"Type mismatch"_s}));
        EXPECT_EQ(shown.Text(), u"before"_s);
    }
}
