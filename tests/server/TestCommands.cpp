#include "tests/server/DocTables.h"
#include "tests/server/TestClient.h"

TEST(Commands, AnswerOrSayWhatIsWrong)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    for (const QStringList& row : TableBelow(u"What commands answer"_s)) {
        const QString outcome = OutcomeOf([&] { return client.Execute(Codes(row[0])[0]); });
        EXPECT_EQ(outcome, Codes(row[1])[0]) << row[0].toStdString();
    }
    EXPECT_EQ(OutcomeOf([&] { client.Execute(u"fail \t"_s); }), u"\t");
    EXPECT_EQ(client.Execute({}).Get<QString>().count(u'\n'), 18) << "an empty command lists all";

    const auto value = [&] { return OutcomeOf([&] { return client.Value(u"D100"_s); }); };
    client.Execute(u"disturb Item.get_Value fail every\r\nitem ✓"_s);
    EXPECT_EQ(value(), u"every\r\nitem ✓");
    client.Execute(u"disturb Item(PLC1\\D100).get_Value fail this one"_s);
    EXPECT_EQ(value(), u"this one");
    client.Execute(u"restore"_s);
    EXPECT_EQ(value(), u"3,25");

    const QStringList right = client.ItemNames(), less = right.mid(0, right.size() - 1);
    const std::pair<QString, QStringList> lists[] = {{u"missing"_s, less},
                                                     {u"renamed"_s, less + QStringList(right.last() + u" renamed"_s)},
                                                     {u"reordered"_s, QStringList(right.rbegin(), right.rend())},
                                                     {u"right"_s, right}};
    for (const auto& [how, list] : lists) {
        client.Execute(u"list PLC1 "_s + how);
        EXPECT_EQ(client.ItemNames(), list) << how.toStdString();
        EXPECT_EQ(client.ItemNames(u"PLC1"_s, 1), list.first(1)) << how.toStdString();
    }
    EXPECT_EQ(OutcomeOf([&] { return client.Execute(u"terminate"_s); }), u"0") << "before the server ends";
    EXPECT_TRUE(WaitUntil([&] { return server.HasEnded(); }));
    EXPECT_EQ(server.Process().exitCode(), 0);
}
