#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

TEST(Commands, AnswerOrSayWhatIsWrong)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const std::pair<QString, const char16_t*> cases[] = {
        {u"echo two  blanks "_s, u"8,two  blanks "},
        {u"fail \t"_s, u"\t"},
        {u" state PLC1 7 "_s, u"0"},
        {u"return 8204,{8195,1,2},{1}"_s, u"8204,{8195,1,2},{1}"},
        {u"return 3,x"_s, u"VT_I4: \"x\" is not a number"},
        {u"object PLC1 D100"_s, u"VT_DISPATCH has no text"},
        {u"state PLC9 7"_s, u"Controller \"PLC9\" does not exist."},
        {u"state PLC1"_s, u"The command lacks The state."},
        {u"list \"Lab <b>&Test</b>\\Nürnberg\" wrong"_s,
         u"Items can be listed missing, renamed, reordered or right, not \"wrong\"."},
        {u"fire PLC1 item D9 1"_s, u"Controller \"PLC1\" has no item \"D9\"."},
        {u"fire PLC1 item D100 -1"_s, u"The number of times must be a whole number from 0 on, not \"-1\"."},
        {u"disturb Item.get_Nothing fail x"_s, u"\"Item.get_Nothing\" is not an operation that can be disturbed."},
        {u"disturb Engine.Execute fail x"_s, u"\"Engine.Execute\" is not an operation that can be disturbed."},
        {u"restore Item.get_Value"_s, u"\"Item.get_Value\" is not disturbed."},
        {u"definition"_s, u"No item definition has arrived yet."},
        {u"nonsense"_s, u"The command \"nonsense\" does not exist; an empty command lists all."},
    };
    for (const auto& [command, outcome] : cases)
        EXPECT_EQ(OutcomeOf([&, c = command] { return client.Execute(c); }), outcome);
    EXPECT_EQ(client.Execute({}).Get<QString>().count(u'\n'), 16) << "an empty command lists all";

    const auto value = [&] { return OutcomeOf([&] { return client.Value(u"D100"_s); }); };
    client.Execute(u"disturb Item.get_Value fail every\r\nitem ✓"_s);
    EXPECT_EQ(value(), u"every\r\nitem ✓");
    client.Execute(u"disturb Item(PLC1\\D100).get_Value fail this one"_s);
    EXPECT_EQ(value(), u"this one");
    client.Execute(u"restore"_s);
    EXPECT_EQ(value(), u"3,25");

    const QStringList right = client.ItemNames();
    QStringList renamed = right;
    renamed.last() += u" renamed"_s;
    const std::pair<QString, QStringList> lists[] = {{u"missing"_s, right.mid(0, right.size() - 1)},
                                                     {u"renamed"_s, renamed},
                                                     {u"reordered"_s, QStringList(right.rbegin(), right.rend())},
                                                     {u"right"_s, right}};
    for (const auto& [how, list] : lists) {
        client.Execute(u"list PLC1 "_s + how);
        EXPECT_EQ(client.ItemNames(), list) << how.toStdString();
    }
    EXPECT_EQ(OutcomeOf([&] { return client.Execute(u"terminate"_s); }), u"0") << "before the server ends";
    EXPECT_TRUE(WaitUntil([&] { return server.HasEnded(); }));
    EXPECT_EQ(server.Process().exitCode(), 0);
}

TEST(Commands, TellAndEndWhatRunsWhoeverBeganIt)
{
    ServerRun server;
    TestClient busy(server.SocketPath()), other(server.SocketPath());
    EXPECT_EQ(other.Execute(u"statements"_s), Variant(QString()));
    auto endless = busy.Query(EndlessQuery);
    EXPECT_TRUE(WaitUntil([&] { return other.Execute(u"statements"_s) != Variant(QString()); }));
    const QString text = other.Execute(u"statements"_s).Get<QString>();
    EXPECT_TRUE(text.startsWith(u"1: ") && text.endsWith(u" s, 0 rows: "_s + EndlessQuery)) << text.toStdString();
    EXPECT_EQ(OutcomeOf([&] { other.Execute(u"break 2"_s); }), u"There is no statement 2 running.");
    other.Execute(u"break 1"_s);
    EXPECT_EQ(OutcomeOf([&] { Wait(kj::mv(endless)); }), u"The statement was ended by a command.");
    EXPECT_TRUE(WaitUntil([&] { return other.Execute(u"statements"_s) == Variant(QString()); }));
}
