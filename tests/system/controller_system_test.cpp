#include "controller/EventList.h"
#include "controller/frmController.h"
#include "controller/frmEngine.h"
#include "core/LogPane.h"
#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QMdiSubWindow>

#include <csignal>
#include <thread>

namespace {

const QStringList ExecuteLog = {u"Calling Controller:Execute..."_s, u"Succeeded."_s};
const QString ControllerKey = u"VelSQLEngine\\PLC1"_s;

class ControllerSystem : public SystemConsole
{
protected:
    void StartWithController()
    {
        StartBoth();
        m_Form = &Show(ControllerKey);
        ASSERT_TRUE(dynamic_cast<frmController*>(m_Form));
    }
    void Tick(const char* box) { Control<QCheckBox>(*m_Form, box).setChecked(true); }
    void Execute(const QString& command)
    {
        Control<QLineEdit>(*m_Form, "txtExecCmd").setText(command);
        Press(*m_Form, "cmdExecute");
        Choose(Control<ListBox>(*m_Form, "cmbExecType"), u"EMPTY"_s);
    }
    QStringList Lines()
    {
        QStringList lines;
        const auto& list = Control<EventList>(*m_Form, "lstLogEvent");
        for (int i = 0; i < list.ListCount(); ++i) lines << list.List(i);
        return lines;
    }
    /// What another client of the same server is told.
    QString Ask(const QString& command) { return modMain::Engine->Execute(command).Get<QString>(); }
    bool WaitForLines(const QStringList& expected)
    {
        return QTest::qWaitFor([&] { return Lines() == expected; }, 5000);
    }

    ChildWindow* m_Form = nullptr;
};

} // namespace

TEST_F(ControllerSystem, EventsArriveInOrderBetweenCallsAndNotInsideThem)
{
    StartWithController();
    Execute(u"state 2"_s); // nothing is scanned: the only events are those fired here
    Tick("chkEvent_0");
    Tick("chkEvent_1");
    QStringList expected;
    for (int i = 0; i < 5; ++i) {
        Execute(u"fire state %1 200"_s.arg(i));
        Execute(u"fire item D100 100"_s);
        expected +=
            QStringList(200, u"OnChangeState: State="_s + QStringList({u"Uninitialized"_s, u"Active"_s, u"Deactive"_s,
                                                                       u"Error"_s, u"Terminated"_s})[i]);
        expected += QStringList(100, u"OnChangeItem: Name=D100, Value=25"_s);
    }
    EXPECT_EQ(Lines(), QStringList()) << "none inside a call";
    EXPECT_TRUE(WaitForLines(expected));
    EXPECT_EQ(Ask(u"references"_s).section(u", "_s, 3), u"subscriptions 1"_s);
}

TEST_F(ControllerSystem, EventsThatHoldNoObjectAreAcknowledgedToo)
{
    struct Counter final : ControllerEvents
    {
        void OnChangeState(qint32) override { ++Seen; }
        void OnChangeItem(const ItemRef&) override {}
        int Seen = 0;
    } counter;
    StartBoth();
    const ControllerRef controller = modMain::Engine->get_Controller(Variant(u"PLC1"_s));
    const EventSubscriptionRef subscription = controller->Subscribe(counter);
    controller->Execute(u"fire state 1 3000"_s, Variant()); // far more than may be on their way at a time
    EXPECT_TRUE(QTest::qWaitFor([&] { return counter.Seen == 3000; }, 2000)) << counter.Seen;
}

TEST_F(ControllerSystem, NoEventArrivesAfterHideAndTheNextShowSubscribesAnew)
{
    StartWithController();
    Tick("chkEvent_1");
    Execute(u"fire state 1 5000"_s);
    Press(*m_Form, "cmdHide");
    QTest::qWait(300);
    EXPECT_EQ(Lines(), QStringList());
    EXPECT_EQ(Ask(u"references"_s).section(u", "_s, 3), u"subscriptions 0"_s);
    EXPECT_EQ(&Show(ControllerKey), m_Form);
    Execute(u"fire state 9 2"_s);
    EXPECT_TRUE(WaitForLines({u"OnChangeState: State="_s, u"OnChangeState: State="_s}));
}

TEST_F(ControllerSystem, ClosedByItsFrameWhileEventsStreamIn)
{
    StartWithController();
    Tick("chkEvent_0");
    Execute(u"fire item D100 20000"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return Lines().size() > 100; }, 5000));
    const QPointer<ChildWindow> form(m_Form);
    m_Main->findChild<QMdiSubWindow*>()->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !form; }, 2000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }, 5000));
    EXPECT_EQ(TakeLog(), ExecuteLog);
}

TEST_F(ControllerSystem, OddResultsAndParametersAreShown)
{
    StartWithController();
    const QList<std::array<QString, 3>> cases = {
        {u"return 18,65535"_s, u"(Unknown)"_s, u"65535"_s},
        {u"object D100"_s, u"(Unknown)"_s, u"..."_s},
        {u"return 8204,{8195,1,2},{0}"_s, u"ARRAY | VARIANT"_s, u"..."_s},
        {u"return 1"_s, u"NULL"_s, QString()},
        {u"return 8,a,b\nc"_s, u"BSTR"_s, u"a,b\nc"_s},
        {u"return 8195,[1..]10,20"_s, u"ARRAY | I4"_s, u"[1..]10,20"_s},
    };
    for (const auto& [command, type, text] : cases) {
        Control<QLineEdit>(*m_Form, "txtExecCmd").setText(command);
        Choose(Control<ListBox>(*m_Form, "cmbExecType"), u"EMPTY"_s);
        Press(*m_Form, "cmdExecute");
        EXPECT_EQ(Control<ListBox>(*m_Form, "cmbExecType").currentText(), type);
        EXPECT_EQ(Control<QLineEdit>(*m_Form, "txtExecResult").text(), text);
        EXPECT_EQ(TakeLog(), ExecuteLog);
    }
    Execute(u"fail No <b>way</b>\r\n: ü"_s);
    EXPECT_EQ(TakeLog(), QStringList({ExecuteLog[0], u"No <b>way</b>"_s, QString()}));
    Execute(u"state 7"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Cell(*m_Form, u"State"_s) == u"7 (Unknown)"; }, 3000));
}

TEST_F(ControllerSystem, AServerThatDiesWhileExecuteWaitsIsReportedAndItsSuccessorSendsEventsAgain)
{
    StartWithController();
    Tick("chkEvent_1");
    TakeLog();
    std::thread killer([server = static_cast<pid_t>(m_Server.ProcessId())] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        kill(server, SIGKILL);
    });
    Execute(u"sleep 60000"_s);
    killer.join();
    m_Server.Kill();
    EXPECT_EQ(TakeLog(),
              QStringList(
                  {ExecuteLog[0], u"The connection to the server was lost; the call may still have taken effect."_s}));
    EXPECT_TRUE(QTest::qWaitFor([this] { return Cell(*m_Form, u"Name"_s).isEmpty(); }, 3000));
    EXPECT_EQ(&Show(u"VelSQLEngine\\Archive"), m_Form) << "a window that cannot load goes silently";
    EXPECT_EQ(TakeLog(), QStringList());

    m_Server.Start();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Cell(*m_Form, u"Name"_s) == u"PLC1"; }, 5000));
    Execute(u"fire state 3 1"_s);
    EXPECT_TRUE(WaitForLines({u"OnChangeState: State=Error"_s}));
    EXPECT_EQ(TakeLog(), ExecuteLog);
}

TEST_F(ControllerSystem, EachIsShownOnceByEveryWay)
{
    StartBoth();
    auto& toolbarShow = Control<QAction>(*m_Main, "btnShow");
    ASSERT_TRUE(QTest::qWaitFor([&] { return toolbarShow.isEnabled(); }, 2000)) << "enabled by the first tick";
    const struct
    {
        QString Key, Caption;
        const char* Entry;
    } windows[] = {{ControllerKey, u"Controller(PLC1)"_s, "mnuPopupCtrl_0"},
                   {u"VelSQLEngine"_s, u"VelSQLEngine"_s, "mnuPopupEng_0"}};
    for (const auto& window : windows) {
        ChildWindow& form = Show(window.Key);
        EXPECT_EQ(form.windowTitle(), window.Caption);
        for (QAction* way : {&toolbarShow, &Control<QAction>(*m_Main, window.Entry)}) {
            Press(form, "cmdHide");
            EXPECT_FALSE(form.isVisible());
            way->trigger();
            EXPECT_TRUE(form.isVisible());
            EXPECT_EQ(ChildWindow::Forms().last(), &form);
        }
        EXPECT_EQ(Panel(1), u"Ready."_s);
    }
    EXPECT_EQ(ChildWindow::Forms().size(), 2);
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(ControllerSystem, TheirAccessKeysWinOverTheMenuBars)
{
    StartBoth();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
    const QMap<Qt::Key, QString> controllerKeys = {{Qt::Key_A, u"Controller:Start"_s},
                                                   {Qt::Key_O, u"Controller:Stop"_s},
                                                   {Qt::Key_N, u"Controller:Snapshot"_s},
                                                   {Qt::Key_E, u"Controller:Execute"_s},
                                                   {Qt::Key_P, u"Controller:put_Tag"_s}};
    const QMap<Qt::Key, QString> engineKeys = {{Qt::Key_A, u"Engine:Start"_s},
                                               {Qt::Key_O, u"Engine:Stop"_s},
                                               {Qt::Key_N, u"Engine:Snapshot"_s},
                                               {Qt::Key_E, u"Engine:Execute"_s}};
    const QList<std::tuple<QString, const char*, QMap<Qt::Key, QString>>> windows = {
        {ControllerKey, "txtExecCmd", controllerKeys}, {u"VelSQLEngine"_s, "txtCommand", engineKeys}};
    for (const auto& [key, field, keys] : windows) {
        ChildWindow& form = Show(key);
        auto& text = Control<QLineEdit>(form, field);
        for (auto it = keys.begin(); it != keys.end(); ++it) {
            text.setFocus();
            QTest::keyClick(&text, it.key(), Qt::AltModifier);
            EXPECT_TRUE(
                QTest::qWaitFor([&] { return m_Main->Log().Text().contains(u"Calling %1..."_s.arg(*it)); }, 1000))
                << it->toStdString();
            EXPECT_FALSE(QApplication::activePopupWidget());
        }
        text.setFocus();
        QTest::keyClick(&text, Qt::Key_H, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !form.isVisible(); }, 1000));
        EXPECT_FALSE(QApplication::activePopupWidget());
        TakeLog();
    }
}
