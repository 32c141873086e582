#include "server/sources/mqtt/MqttBinding.h"
#include "tests/server/DocTables.h"
#include "tests/server/PlantFileTest.h"
#include "tests/server/TestClient.h"
#include "tests/support/BrokerRun.h"

namespace {

PayloadForm FormOf(const QString& option, int type = VT_VARIANT)
{
    return ReadMqttBinding({u"a"_s, Codes(option).value(0), static_cast<VarType>(type)}).Form;
}

Variant Read(const QByteArray& message, const PayloadForm& form)
{
    return Payload(message).Read(form);
}

/// A server whose controller "Boiler" hears a broker of its own.
class MqttServerTest : public ::testing::Test
{
protected:
    explicit MqttServerTest(const QByteArray& more = {})
    {
        WriteFile(m_Broker.Folder() + u"/plant.toml"_s,
                  "[[device]]\nname = \"Broker\"\nprotocol = \"mqtt\"\nhost = \"127.0.0.1\"\nport = " +
                      QByteArray::number(m_Broker.Port()) + R"(
[[controller]]
name = "Boiler"
device = "Broker"
item = [ { name = "Temp", type = "R8", variable = "b/state", option = "/t qos=1" },
         { name = "Pump", type = "BOOL", variable = "b/state", option = "/p" },
         { name = "Any", variable = "b/+/raw" },
         { name = "Kept", type = "I4", variable = "b/kept", option = "set=b/kept/set qos=1 retain" } ]
)" + more);
        m_Server.emplace(QStringList{u"--plant"_s, m_Broker.Folder() + u"/plant.toml"_s});
        m_Client.emplace(m_Server->SocketPath());
    }

    /// What the items hold, with their states when these are not good, and the controller's state.
    QString Seen(const QStringList& items = {u"Temp"_s, u"Pump"_s, u"Any"_s, u"Kept"_s})
    {
        QStringList seen;
        for (const QString& item : items) {
            const int state = Wait(m_Client->Item(item, u"Boiler"_s).getStateRequest().send()).getResult();
            QString value = WriteTypedText(m_Client->Value(item, u"Boiler"_s));
            value.truncate(20);
            seen << value + QString(state, u'!');
        }
        return seen.join(u' ') + u" "_s +
               QString::number(Wait(m_Client->Controller(u"Boiler"_s).getStateRequest().send()).getResult());
    }
    bool Becomes(const QString& seen)
    {
        return WaitUntil([&] { return Seen() == seen; });
    }
    QString Put(const QString& item, const Variant& value, const QString& controller = u"Boiler"_s)
    {
        auto request = m_Client->Item(item, controller).putValueRequest();
        m_Client->Set(request.initValue(), value);
        return OutcomeOf([&] { Wait(request.send()); });
    }
    QString Unreachable(const QString& why) const
    {
        return u"the broker at mqtt://127.0.0.1:%1 cannot be reached: "_s.arg(m_Broker.Port()) + why;
    }

    BrokerRun m_Broker;
    std::optional<ServerRun> m_Server;
    std::optional<TestClient> m_Client;
};

/// The lines that a subscriber has written, once there are so many; times are left out.
QStringList LinesFrom(QProcess& subscriber, qsizetype count)
{
    static const QRegularExpression time(u"\"time\":\"\\d{4}-\\d\\d-\\d\\dT[\\d:]{8}\\.\\d{6}Z\""_s);
    QStringList lines;
    const auto haveAll = [&] {
        while (subscriber.canReadLine())
            lines << QString::fromUtf8(subscriber.readLine()).trimmed().replace(time, u"T"_s);
        subscriber.waitForReadyRead(10);
        return lines.size() >= count;
    };
    WaitUntil(haveAll);
    return lines;
}

class PublishTest : public MqttServerTest
{
protected:
    PublishTest()
        : MqttServerTest(R"([[controller]]
name = "Out"
item = [ { name = "Count", type = "I4", events = false } ]
[[publish]]
device = "Broker"
items = ['O*\Count']
topic = "disk/{item}"
queue = "disk"
[[publish]]
device = "Broker"
items = ['Out\*', 'Boiler\Any']
topic = "memory/{controller}"
queue_values = 3
)")
    {
    }

    static QString Sent(const QString& topic, int count)
    {
        return u"%1 {\"controller\":\"Out\",\"item\":\"Count\",\"value\":%2,\"type\":\"I4\",T,\"state\":0}"_s.arg(topic)
            .arg(count);
    }
};

} // namespace

TEST(MqttTest, MessagesAreValuesAndValuesMessagesAsDocumented)
{
    for (const QStringList& row : TableBelow(u"Messages and items"_s)) {
        SCOPED_TRACE(row.join(u'|').toStdString());
        const QByteArray message = Codes(row[2]).value(0).toUtf8();
        const QString outcome = OutcomeOf([&] { return Read(message, FormOf(row[1], row[0].toInt())); });
        EXPECT_EQ(row[3].contains(u"fails: "_s) ? outcome + u'.' : outcome, Expected(row[3]));
    }
    for (const QStringList& row : TableBelow(u"Written values and messages"_s)) {
        SCOPED_TRACE(row.join(u'|').toStdString());
        const QString outcome = OutcomeOf(
            [&] { return QString::fromUtf8(WritePayload(ReadTypedText(Codes(row[1]).value(0)), FormOf(row[0]))); });
        EXPECT_EQ(row[2].contains(u"fails: "_s) ? outcome + u'.' : outcome, Expected(row[2]));
    }
    for (const QStringList& row : TableBelow(u"Refused topics and options"_s)) {
        const auto read = [&] { ReadMqttBinding({Codes(row[0]).value(0), Codes(row[1]).value(0), VT_BOOL}); };
        EXPECT_EQ(OutcomeOf(read), row[2].trimmed().mid(1).chopped(1)); // some hold backticks' neighbours
    }
}

TEST(MqttTest, MessagesThatAreNoTextHarmNothing)
{
    EXPECT_EQ(Read("\xFF\x01", FormOf({})), ReadTypedText(u"8209,255,1"));
    EXPECT_EQ(OutcomeOf([] { return Read("\xFF", FormOf({}, VT_BSTR)); }), u"the message is no text in UTF-8"_s);
    EXPECT_EQ(Read(QByteArray(1'000'000, 'x'), FormOf({}, VT_BSTR)), Variant(QString(1'000'000, u'x')));
    EXPECT_TRUE(OutcomeOf([] { return Read(QByteArray(1'000'000, '['), FormOf(u"`json`"_s)); }).contains(u"not JSON"));
    const QByteArray nested = QByteArray(100, '[') + QByteArray(100, ']');
    EXPECT_TRUE(WriteTypedText(Read(nested, FormOf(u"`json`"_s))).contains(u"[[[["_s)) << "a text from some depth on";
}

TEST_F(PlantFileTest, MistakesInBrokersAndPublicationsAreSaidWithTheirLines)
{
    EXPECT_EQ(MistakesIn(R"([[device]]
name = "B"
protocol = "mqtt"
tls = false
ca_file = "plant.toml"
password_file = "none"
key_file = "plant.toml"
version = "4"
[[device]]
name = "Good"
protocol = "mqtt"
host = "localhost"
[[controller]]
name = "C"
device = "Good"
item = [ { name = "I", variable = "a/#/b" }, { name = "J", variable = "a", option = "qos=7" } ]
[[publish]]
device = "Good"
topic = "a/+/{item}"
queue = "disk"
queue_values = 5
[[publish]]
device = "None"
)"),
              u"plant.toml:1: host is missing\nplant.toml:4: tls: ca_file and certificate_file need it\n"
              "plant.toml:6: password_file: none is no file that can be read\n"
              "plant.toml:6: password_file: a password needs a user\n"
              "plant.toml:7: key_file: certificate_file and key_file belong together\n"
              "plant.toml:8: version: \"4\" is none of 3.1.1, 5\n"
              "plant.toml:16: variable: \"a/#/b\" is no topic such as plant/boiler/temperature or plant/+/temperature\n"
              "plant.toml:16: option: qos is 0, 1 or 2, not \"7\"\n"
              "plant.toml:19: topic: \"a/+/{item}\" is no topic that can be written\n"
              "plant.toml:21: queue_values: it belongs to a queue that is in memory\n"
              "plant.toml:23: device: there is no device \"None\""_s);
}

TEST_F(MqttServerTest, WhatArrivesSetsItemsUnlessTheyAreSwitchedOff)
{
    m_Broker.Publish({u"-r"_s, u"-t"_s, u"b/kept"_s}, "7"); // before and after the server connects
    m_Broker.Publish({u"-t"_s, u"b/1/raw"_s}, "one");
    m_Broker.Publish({u"-r"_s, u"-t"_s, u"b/state"_s}, R"({"t":21.5,"p":true})");
    ASSERT_TRUE(WaitUntil([&] { return Seen({u"Temp"_s, u"Kept"_s}) == u"5,21.5 3,7 1"_s; })) << Seen().toStdString();
    m_Broker.Publish({u"-t"_s, u"b/2/raw"_s}, QByteArray(1'000'000, 'x'));
    EXPECT_TRUE(Becomes(u"5,21.5 11,True 8,xxxxxxxxxxxxxxxxxx 3,7 1"_s)) << Seen().toStdString();
    m_Broker.Publish({u"-t"_s, u"b/state"_s}, R"({"t":"warm","p":false})");
    EXPECT_TRUE(Becomes(u"5,21.5! 11,False 8,xxxxxxxxxxxxxxxxxx 3,7 1"_s)) << Seen().toStdString();
    EXPECT_TRUE(m_Server->Log().last().endsWith(
        u"warning: Device \"Broker\": topic \"b/state\": VT_R8: \"warm\" is not a number."_s));

    auto off = m_Client->Item(u"Any"_s, u"Boiler"_s).putActivationRequest();
    off.setValue(false);
    Wait(off.send());
    m_Broker.Publish({u"-t"_s, u"b/1/raw"_s}, "2");
    m_Broker.Publish({u"-t"_s, u"b/state"_s}, R"({"t":22,"p":false})");
    EXPECT_TRUE(Becomes(u"5,22 11,False 8,xxxxxxxxxxxxxxxxxx 3,7 1"_s)) << "deactivated: " << Seen().toStdString();
    auto on = m_Client->Item(u"Any"_s, u"Boiler"_s).putActivationRequest();
    on.setValue(true);
    Wait(on.send());
    EXPECT_TRUE(Becomes(u"5,22 11,False 3,2 3,7 1"_s)) << "taken when it may be: " << Seen().toStdString();
    Wait(m_Client->Controller(u"Boiler"_s).stopRequest().send());
    m_Broker.Publish({u"-r"_s, u"-t"_s, u"b/kept"_s}, "8");
    Pause(300);
    EXPECT_EQ(Seen(), u"5,22 11,False 3,2 3,7 2"_s) << "stopped";
    Wait(m_Client->Controller(u"Boiler"_s).startRequest().send());
    EXPECT_TRUE(Becomes(u"5,21.5 11,True 3,2 3,8 1"_s)) << "what is retained: " << Seen().toStdString();
}

TEST_F(MqttServerTest, ABrokerMayGoAndComeBack)
{
    QProcess other;
    m_Broker.Run(other, {u"mosquitto_sub"_s, u"-v"_s, u"-t"_s, u"b/kept/#"_s});
    m_Broker.Publish({u"-r"_s, u"-t"_s, u"b/state"_s}, R"({"t":21.5,"p":true})");
    ASSERT_TRUE(WaitUntil([&] { return Seen({u"Temp"_s, u"Pump"_s}) == u"5,21.5 11,True 1"_s; }));
    ASSERT_TRUE(WaitUntil([&] { return Put(u"Kept"_s, Variant(41)) == u"done" && other.waitForReadyRead(100); }));
    EXPECT_TRUE(other.readAllStandardOutput().startsWith("b/kept/set 41\n"));
    EXPECT_EQ(Put(u"Any"_s, Variant(1)),
              u"Item \"Any\" of controller \"Boiler\": it hears several topics, and its option "
              "names none that can be written with set=."_s);
    m_Broker.Stop();
    EXPECT_TRUE(WaitUntil([&] {
        return Seen({u"Temp"_s, u"Pump"_s}) == u"5,21.5! 11,True! 3"_s;
    })) << Seen().toStdString();
    EXPECT_TRUE(Put(u"Kept"_s, Variant(42)).contains(Unreachable({})));
    m_Broker.Start();
    m_Broker.Publish({u"-r"_s, u"-t"_s, u"b/state"_s}, R"({"t":1,"p":false})");
    const QDeadlineTimer deadline(3000);
    EXPECT_TRUE(WaitUntil([&] { return Seen({u"Temp"_s, u"Pump"_s}) == u"5,1 11,False 1"_s; })) << Seen().toStdString();
    EXPECT_FALSE(deadline.hasExpired());
    const QStringList log = m_Server->Log().filter(u"Broker"_s);
    EXPECT_EQ(log.size(), 3) << "connected, lost, connected: " << log.join(u'\n').toStdString();
}

TEST_F(PublishTest, ChangesGoOutInOrderAlsoAfterOutagesOfBrokerAndServer)
{
    QProcess other;
    m_Broker.Run(other, {u"mosquitto_sub"_s, u"-c"_s, u"-i"_s, u"other"_s, u"-q"_s, u"1"_s, u"-t"_s, u"disk/#"_s,
                         u"-t"_s, u"memory/#"_s, u"-F"_s, u"%t %p"_s});
    ASSERT_TRUE(WaitUntil([&] {
        m_Broker.Publish({u"-t"_s, u"disk/ready"_s}, "yes");
        return other.waitForReadyRead(100);
    }));
    const auto sent = [&](const QStringList& topics, int first, int last) {
        QStringList lines;
        for (int i = first; i <= last; ++i)
            for (const QString& topic : topics) lines << Sent(topic, i);
        return lines;
    };
    const auto put = [&](int value) { EXPECT_EQ(Put(u"Count"_s, Variant(value), u"Out"_s), u"done"_s); };
    other.readAll();
    put(1);
    QStringList first = LinesFrom(other, 2);
    first.sort();
    EXPECT_EQ(first, sent({u"disk/Count"_s, u"memory/Out"_s}, 1, 1));
    m_Broker.Stop();
    for (int i = 2; i <= 6; ++i) put(i);
    EXPECT_EQ(m_Server->Terminate(), 0);
    EXPECT_EQ(m_Server->Log().filter(u"are lost"_s),
              QStringList(u"error: Publishing by \"Broker\" to \"memory/{controller}\": 5 values are lost."_s));
    m_Client.reset();
    m_Server->Start({u"--plant"_s, m_Broker.Folder() + u"/plant.toml"_s});
    m_Client.emplace(m_Server->SocketPath());
    m_Broker.Start();
    EXPECT_EQ(LinesFrom(other, 5), sent({u"disk/Count"_s}, 2, 6)) << "what the server before has left";
    m_Broker.Publish({u"-t"_s, u"b/1/raw"_s}, "x");
    EXPECT_EQ(LinesFrom(other, 1), QStringList(u"memory/Boiler {\"controller\":\"Boiler\",\"item\":\"Any\","
                                               "\"value\":\"x\",\"type\":\"BSTR\",T,\"state\":0}"_s));
}
