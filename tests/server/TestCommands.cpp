#include "core/automation/PlainText.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"
#include "velsqllib/ValueText.h"

#include <gtest/gtest.h>

namespace {

const QString s_Plc = QStringLiteral("PLC1");

} // namespace

TEST(Commands, AnswerOrSayWhatIsWrong)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"echo two  blanks", u"8,two  blanks"},
        {u"echo", u"8,"},
        {u"return 8204,{8195,1,2},{1}", u"8204,{8195,1,2},{1}"},
        {u"return 18,65535", u"18,65535"},
        {u"return 1", u"1"},
        {u"return 3,x", u"VT_I4: \"x\" is not a number"},
        {u"state PLC1 7", u"0"},
        {u"state PLC9 7", u"Controller \"PLC9\" does not exist."},
        {u"state PLC1", u"The command lacks The state."},
        {u"list \"Lab <b>&Test</b>\\Nürnberg\" wrong",
         u"Items can be listed missing, renamed, reordered or right, not \"wrong\"."},
        {u"fire PLC1 item D9 1", u"Controller \"PLC1\" has no item \"D9\"."},
        {u"fire PLC1 item D100 -1", u"The number of times must be a whole number from 0 on, not \"-1\"."},
        {u"disturb Item.get_Nothing fail x", u"\"Item.get_Nothing\" is no operation that can be disturbed."},
        {u"disturb Engine.Execute fail x", u"\"Engine.Execute\" is no operation that can be disturbed."},
        {u"restore Item.get_Value", u"\"Item.get_Value\" is not disturbed."},
        {u"definition", u"No item definition has arrived yet."},
        {u"nonsense", u"The command \"nonsense\" does not exist; an empty command lists all."},
    };
    for (const auto& [command, outcome] : cases) {
        QString result;
        const QString failure =
            FailureOf([&] { result = WriteTypedText(client.Execute(QString::fromUtf16(command))); });
        EXPECT_EQ(failure == QStringLiteral("succeeded") ? result : failure, QString::fromUtf16(outcome));
    }
    const Variant array = SafeArray(QList<qint16>({1, 2}), 1);
    EXPECT_EQ(client.Execute(s_Plc, QStringLiteral("echo"), array), array);
    EXPECT_EQ(client.Execute(s_Plc, QStringLiteral("object D100"), {}).Type(), VT_DISPATCH);
    EXPECT_EQ(ToPlainText(client.Execute(QString())).count(u'\n'), 13) << "an empty command lists all";
}

TEST(Commands, MakeOperationsFailAndWorkAgain)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const auto value = [&](const QString& item) { return FailureOf([&] { client.Value(s_Plc, item); }); };
    const QString works = QStringLiteral("succeeded");
    client.Execute(QStringLiteral("disturb Item(PLC1\\D100).get_Value fail Line 1\r\nLine 2 ✓"));
    EXPECT_EQ(value(QStringLiteral("D100")), QStringLiteral("Line 1\r\nLine 2 ✓"));
    EXPECT_EQ(value(QStringLiteral("Level")), works);
    client.Execute(QStringLiteral("disturb Item.get_Value fail all"));
    EXPECT_EQ(value(QStringLiteral("Level")), QStringLiteral("all"));
    client.Execute(QStringLiteral("disturb History.get_Enabled fail off"));
    EXPECT_EQ(FailureOf([&] {
                  auto history = client.Engine.getHistoryRequest().send().getResult();
                  client.Wait(history.getEnabledRequest().send());
              }),
              QStringLiteral("off"));
    client.Execute(QStringLiteral("restore"));
    EXPECT_EQ(value(QStringLiteral("D100")) + value(QStringLiteral("Level")), works + works);
}

TEST(Commands, ReportCallsWithTheTypesOfTheirArguments)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    auto item = client.Item(s_Plc, QStringLiteral("D100"));
    EXPECT_EQ(ToPlainText(client.Execute(QStringLiteral("calls"))), QString());
    auto put = item.putValueExRequest();
    put.setDelay(5);
    client.Set(put.initValue(), SafeArray(QList<Variant>({1})));
    FailureOf([&] { client.Wait(put.send()); });
    client.Wait(item.getIdRequest().send());
    client.Wait(client.Controller(s_Plc).startRequest().send());
    EXPECT_EQ(ToPlainText(client.Execute(QStringLiteral("calls"))),
              QStringLiteral("Item(PLC1\\D100).put_ValueEx(3,8204)\r\nItem(PLC1\\D100).get_ID()\r\n"
                             "Engine.get_Controller(8)\r\nController(PLC1).Start()\r\nEngine.Execute(8)"));
}

TEST(Commands, ReportWhatClientsHold)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const auto report = [&] { return ToPlainText(client.Execute(QStringLiteral("references"))); };
    {
        auto item = client.Item(s_Plc, QStringLiteral("D100"));
        auto same = client.Item(s_Plc, QStringLiteral("D100"));
        EXPECT_EQ(report(), QStringLiteral("controllers 0, items 1, results 0, subscriptions 0"));
        TestClient other(server.SocketPath());
        auto controller = other.Controller(s_Plc);
        EXPECT_EQ(report(), QStringLiteral("controllers 1, items 1, results 0, subscriptions 0"));
    }
    EXPECT_TRUE(
        WaitUntil([&] { return report() == QStringLiteral("controllers 0, items 0, results 0, subscriptions 0"); }));
}

TEST(Commands, ListItemsWrongly)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const auto names = [&] {
        auto request = client.Controller(s_Plc).getItemNamesRequest();
        return ReadValue(client.Wait(request.send()).getResult(), client.Objects).Array().Of<QString>();
    };
    const auto right = names();
    client.Execute(QStringLiteral("list PLC1 missing"));
    EXPECT_EQ(names(), right.mid(0, right.size() - 1));
    client.Execute(QStringLiteral("list PLC1 renamed"));
    EXPECT_EQ(names().last(), right.last() + QStringLiteral(" renamed"));
    client.Execute(QStringLiteral("list PLC1 reordered"));
    EXPECT_EQ(names(), QStringList(right.rbegin(), right.rend()));
    client.Execute(QStringLiteral("list PLC1 right"));
    EXPECT_EQ(names(), right);
}

TEST(Commands, TerminateAnswersBeforeItEnds)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    client.Execute(QStringLiteral("terminate"));
    EXPECT_EQ(server.ExitCode(), 0);
}
