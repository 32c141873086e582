#include "controller/EventList.h"
#include "tests/system/SystemConsole.h"

namespace {

/// A server that dies or hangs, as every window meets it; how a connection copes is tested at the connection.
class ServerLoss : public SystemConsole
{
protected:
    QStringList Execute(ChildWindow& controller, const QString& command)
    {
        Type(controller, "txtExecCmd", command);
        Press(controller, "cmdExecute");
        return TakeLog();
    }
    QStringList Get(ChildWindow& item)
    {
        Press(item, "cmdGet");
        return TakeLog();
    }

    const QStringList GetLog = Called(u"Item:get_Value"_s);
};

TEST_F(ServerLoss, IsReportedByTheCallThatMeetsItAndTheNextServerServesTheSameWindows)
{
    StartBoth();
    ChildWindow& controller = Show(PLC1);
    ChildWindow& item = Show(D100);
    Ask(u"state PLC1 2"_s); // nothing is scanned: the only events are those fired here
    Tick(controller, "chkEvent_1");
    QProcess::startDetached(u"sh"_s, {u"-c"_s, u"sleep 0.3; kill -9 %1"_s.arg(m_Server.ProcessId())});
    EXPECT_EQ(Execute(controller, u"sleep 60000"_s), QStringList({u"Calling Controller:Execute..."_s, Lost}));
    m_Server.Kill();
    EXPECT_EQ(Get(item), QStringList({GetLog[0], u"The server is not running."_s}));
    EXPECT_TRUE(WaitForCell(item, u"Value"_s, u"(EMPTY)"_s) && WaitForCell(controller, u"Name"_s, QString()));
    Show(u"VelSQLEngine\\Archive");
    EXPECT_EQ(ChildWindow::Forms().size(), 2) << "a window that cannot load goes silently";

    m_Server.Start();
    EXPECT_TRUE(WaitForCell(item, u"Value"_s, u"25 (I4)"_s) && WaitForCell(controller, u"Name"_s, u"PLC1"_s));
    EXPECT_EQ(TakeLog(), QStringList()) << "a refresh never logs";
    EXPECT_EQ(Get(item), GetLog);
    EXPECT_EQ(Execute(controller, u"fire state 3 1"_s), Called(u"Controller:Execute"_s));
    auto& events = Control<EventList>(controller, "lstLogEvent");
    EXPECT_TRUE(QTest::qWaitFor([&] { return events.ListCount() == 1; }, 20'000));
    EXPECT_EQ(events.List(0), u"OnChangeState: State=Error"_s);
}

TEST_F(ServerLoss, IsSeenInTreeAndSettingsWithoutACallAndGoesBackByItself)
{
    StartBoth();
    const auto& tree = Control<ObjectTreeView>("treeObject");
    const auto dimmed = [&](bool is) { return QTest::qWaitFor([&, is] { return tree.IsDimmed() == is; }, 20'000); };
    m_Server.Kill();
    EXPECT_TRUE(dimmed(true));
    ChildWindow& history = Show(u"VelSQLEngine\\VelSQLHistory");
    const auto& settings = Control<PropertyGrid>(history, "grdProperties");
    EXPECT_EQ(settings.WhyUnread(0), u"The server is not running."_s);
    m_Server.Start();
    EXPECT_TRUE(dimmed(false));
    EXPECT_TRUE(WaitForCell(history, u"TableName(1)"_s, u"velsql_history"_s));
    EXPECT_FALSE(settings.HasFailedRows());
}

TEST_F(ServerLoss, AHangingServerEndsTheCallAndIsUsedAgainWhenItGoesOn)
{
    StartBoth();
    ChildWindow& item = Show(D100);
    Press(item, "cmdHide"); // no refresh: the first call to meet the hanging server is the operator's
    ChildWindow& batch = OpenBatch(QByteArray("D100,3,120\n").repeated(200'000));
    After(200, [this] { m_Server.Suspend(); });
    Press(batch, "cmdStart");
    EXPECT_EQ(TakeLog().last(2), QStringList({u"Calling Item(D100):put_Value..."_s, GivenUp}));
    Press(batch, "cmdStart");
    EXPECT_EQ(TakeLog(), QStringList{u"Controller \"PLC1\": The server does not answer."_s});
    m_Server.Resume();
    Show(D100);
    EXPECT_TRUE(WaitForCell(item, u"Value"_s, u"120 (I4)"_s));
    EXPECT_EQ(Get(item), GetLog);
}

} // namespace
