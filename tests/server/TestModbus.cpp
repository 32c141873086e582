#include "tests/server/ModbusPeer.h"

namespace {

/// A server with the controller "C", whose device is as `device` says.
class Modbus : public ::testing::Test
{
protected:
    void Serve(const QByteArray& device, const QByteArray& more = {})
    {
        WriteFile(m_Plant, R"([history]
enabled = true
[[device]]
name = "D"
timeout = 0.3
retries = 0
retry_pause = 0.2
write = true
)" + device + R"(
[[controller]]
name = "C"
device = "D"
scan_times = [50, 1000, 0]
item = [ { name = "R{0..499}", type = "UI2", variable = "holding:{n}" },
         { name = "Far", type = "UI2", variable = "input:1500" },
         { name = "Long", type = "ARRAY|UI2", variable = "holding:600-899" },
         { name = "Text", type = "BSTR", variable = "holding:910-919", scan = 2 },
         { name = "Bit", type = "BOOL", variable = "holding:920.3", scan = 2 },
         { name = "Coils", type = "ARRAY|BOOL", variable = "coil:10-19", scan = 2 },
         { name = "Real", type = "R4", variable = "holding:930", option = "CDAB", scan = 2, history = true },
         { name = "Follower", links = ["Real"] } ]
)" + more);
        m_Server.emplace(QStringList{u"--plant"_s, m_Plant});
        m_Client.emplace(m_Server->SocketPath());
    }
    void ServeTcp(const QByteArray& more = {}, const QByteArray& connections = "1")
    {
        Serve("protocol = \"modbus-tcp\"\nhost = \"127.0.0.1\"\nport = " + QByteArray::number(m_Port) +
                  "\nconnections = " + connections,
              more);
    }

    QString Value(const QString& item)
    {
        return OutcomeOf([&] { return m_Client->Value(item, u"C"_s); });
    }
    /// Whether the last reading succeeded, or why not; without the time.
    QString Why(const QString& item)
    {
        static const QRegularExpression time(u" at [-0-9]+ \\d\\d:\\d\\d:\\d\\d"_s);
        return OutcomeOf([&] { return m_Client->Execute(u"item C "_s + item); })
            .mid(2)
            .remove(time)
            .remove(item + u": "_s);
    }
    bool Becomes(const QString& item, const QString& why)
    {
        return WaitUntil([&] { return Why(item) == why; }, 5000);
    }
    int State() { return Wait(m_Client->Controller(u"C"_s).getStateRequest().send()).getResult(); }
    auto Put(const QString& item, const Variant& value)
    {
        auto request = m_Client->Item(item, u"C"_s).putValueRequest();
        m_Client->Set(request.initValue(), value);
        return request.send();
    }
    QString PutNow(const QString& item, const Variant& value)
    {
        return OutcomeOf([&] { Wait(Put(item, value)); });
    }
    qint64 Requests()
    {
        const QString told = m_Client->Execute(u"devices"_s).Get<QString>();
        return told.section(u"requests "_s, 1).section(u',', 0, 0).toLongLong();
    }
    /// What a master that nobody here wrote reads.
    QString Polled(const QStringList& what)
    {
        QProcess poll;
        poll.start(u"mbpoll"_s, QStringList{u"-m"_s, u"tcp"_s, u"-p"_s, QString::number(m_Port), u"-0"_s, u"-1"_s} +
                                    what + QStringList{u"127.0.0.1"_s});
        poll.waitForFinished();
        QStringList values;
        for (const QString& line : QString::fromUtf8(poll.readAllStandardOutput()).split(u'\n'))
            if (line.startsWith(u'[')) values << line.section(u"]:"_s, 1).trimmed();
        return values.join(u' ');
    }

    const int m_Port = FreePort();
    QTemporaryDir m_Folder;
    const QString m_Plant = m_Folder.filePath(u"plant.toml"_s);
    std::optional<ServerRun> m_Server;
    std::optional<TestClient> m_Client;
};

const QString Good = u"Succeeded"_s;

} // namespace

TEST_F(Modbus, ReadsAndWritesAndIsConfirmed)
{
    ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp();
    ASSERT_TRUE(Becomes(u"Long"_s, Good)) << Why(u"Long"_s).toStdString();
    EXPECT_EQ(Value(u"R7"_s) + Value(u"R499"_s) + Value(u"Far"_s), u"18,718,49918,1500");
    EXPECT_TRUE(Value(u"Long"_s).startsWith(u"8210,600,601,") && Value(u"Long"_s).endsWith(u",898,899"));

    const std::tuple<QString, QString, QStringList, QString> writings[] = {
        {u"R7"_s, u"3,4711"_s, {u"-t4"_s, u"-r7"_s}, u"4711"_s},
        {u"Real"_s, u"5,-12.5"_s, {u"-t4:float"_s, u"-r930"_s}, u"-12.5"_s},
        {u"Follower"_s, u"5,50"_s, {u"-t4:float"_s, u"-r930"_s}, u"50"_s},
        {u"Text"_s, u"8,Boiler"_s, {u"-t4:hex"_s, u"-r910"_s, u"-c4"_s}, u"0x426F 0x696C 0x6572 0x0000"_s},
        {u"Bit"_s, u"11,False"_s, {u"-t4"_s, u"-r920"_s}, QString::number(920 & ~8)},
        {u"Coils"_s,
         u"8203,True,True,True,False,False,True,True,True,True,False"_s,
         {u"-t0"_s, u"-r10"_s, u"-c10"_s},
         u"1 1 1 0 0 1 1 1 1 0"_s}};
    for (const auto& [item, value, what, polled] : writings) {
        EXPECT_EQ(PutNow(item, ReadTypedText(value)), u"done") << item.toStdString();
        EXPECT_EQ(Polled(what), polled) << item.toStdString();
    }
    EXPECT_EQ(Value(u"Follower"_s), u"4,50");
    QList<quint16> long_(300, 5);
    EXPECT_EQ(PutNow(u"Long"_s, Variant(SafeArray(long_))), u"done") << "in three blocks";
    EXPECT_EQ(Polled({u"-t4"_s, u"-r898"_s, u"-c3"_s}), u"5 5 900");
    EXPECT_EQ(PutNow(u"Far"_s, Variant(1)), u"Item \"Far\" of controller \"C\": inputs cannot be written.");
    EXPECT_EQ(PutNow(u"R8"_s, Variant(u"x"_s)), u"Item \"R8\" of controller \"C\": VT_UI2: \"x\" is not a number.");
    auto delayed = m_Client->Item(u"R9"_s, u"C"_s).putValueExRequest();
    delayed.setDelay(10);
    m_Client->Set(delayed.initValue(), Variant(77));
    Wait(delayed.send());
    EXPECT_TRUE(WaitUntil([&] { return Value(u"R9"_s) == u"18,77"; }));
    EXPECT_EQ(Polled({u"-t4"_s, u"-r9"_s}), u"77");

    auto added = UntouchedDefinition();
    added[2] = u"holding:30-31"_s;
    added[3] = u"I4"_s;
    auto add = m_Client->Controller(u"C"_s).addItemRequest();
    m_Client->Set(add.initDefinition(), SafeArray(added));
    Wait(add.send());
    EXPECT_TRUE(WaitUntil([&] { return Value(u"New"_s) == u"3,1966111"; })) << "bound to a variable";

    // A writing that waits holds up nothing else; it fails with the reason.
    peer.Be("silent");
    ASSERT_TRUE(Becomes(u"R1"_s, u"Failed: no answer in time"_s));
    EXPECT_EQ(PutNow(u"R8"_s, Variant(1)), u"Item \"R8\" of controller \"C\": no answer in time.");
    peer.Be("right");
    ASSERT_TRUE(Becomes(u"R1"_s, Good));
    peer.Be("late 0.25");
    auto waiting = Put(u"R8"_s, Variant(8));
    QElapsedTimer passed;
    passed.start();
    EXPECT_EQ(Value(u"R7"_s), u"18,4711");
    EXPECT_LT(passed.elapsed(), 200);
    Wait(kj::mv(waiting));
}

TEST_F(Modbus, FailuresShowInStateAndLogAndPass)
{
    ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp();
    ASSERT_TRUE(Becomes(u"R1"_s, Good));
    const std::tuple<QByteArray, QString, int> modes[] = {
        {"silent", u"no answer in time"_s, 3},
        {"transaction", u"no answer in time"_s, 3},
        {"half", u"no answer in time"_s, 3},
        {"late 0.5", u"no answer in time"_s, 3},
        {"garbage", u"127.0.0.1:%1: it does not speak Modbus"_s.arg(m_Port), 3},
        {"unit", u"unit 3 has answered instead of 1"_s, 3},
        {"short", u"its answer is garbled: 250 bytes instead of 252"_s, 3},
        {"exception 6", u"Device busy (exception 6)"_s, 1},
        {"exception 9", u"Exception (exception 9)"_s, 1},
        {"exception 11", u"No answer from the device behind the gateway (exception 11)"_s, 3}};
    for (const auto& [mode, why, state] : modes) {
        const qsizetype logged = m_Server->Log().size();
        peer.Be(mode);
        EXPECT_TRUE(Becomes(u"R1"_s, u"Failed: "_s + why)) << mode.toStdString() << Why(u"R1"_s).toStdString();
        EXPECT_TRUE(WaitUntil([&] { return State() == state; }, 3000)) << mode.toStdString() << State();
        EXPECT_EQ(Value(u"R1"_s), u"18,1") << "the value stays";
        Pause(300); // several attempts
        peer.Be("right");
        EXPECT_TRUE(WaitUntil([&] { return Why(u"R1"_s) == Good && State() == 1; }, 1200)) << mode.toStdString();
        EXPECT_LE(m_Server->Log().size(), logged + 2) << mode.toStdString();
        EXPECT_EQ(Value(u"R1"_s) + Value(u"R499"_s) + Value(u"Far"_s), u"18,118,49918,1500") << mode.toStdString();
    }
    peer.Kill();
    EXPECT_TRUE(WaitUntil([&] { return State() == 3; }, 3000));
    Wait(m_Client->Controller(u"C"_s).stopRequest().send());
    peer.Start();
    Pause(1000);
    EXPECT_EQ(State(), 2) << "a stopped controller stays so";
    const qint64 before = Requests();
    Pause(200);
    EXPECT_EQ(Requests(), before) << "and asks nothing";
    Wait(m_Client->Controller(u"C"_s).startRequest().send());
    EXPECT_TRUE(WaitUntil([&] { return Why(u"R1"_s) == Good && State() == 1; }, 1200));
}

TEST_F(Modbus, WhatIsRefusedFailsAloneAndCostsNothing)
{
    ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp(R"([[controller]]
name = "E"
device = "D"
active = false
item = [ { name = "A{0..9}", type = "UI2", variable = "holding:{1995+n}", scan = 2 } ]
)");
    ASSERT_TRUE(Becomes(u"R1"_s, Good));
    Wait(m_Client->Controller(u"C"_s).stopRequest().send());
    const auto snapshot = [&] {
        const qint64 before = Requests();
        Wait(m_Client->Controller(u"E"_s).snapshotRequest().send());
        return Requests() - before;
    };
    EXPECT_GT(snapshot(), 5);
    EXPECT_EQ(snapshot(), 1) << "once it is known";
    for (int i = 0; i < 10; ++i) {
        const QString told = OutcomeOf([&] { return m_Client->Execute(u"item E A%1"_s.arg(i)); });
        EXPECT_TRUE(told.contains(i < 5 ? Good : u"Illegal data address (exception 2)"_s)) << told.toStdString();
    }
    auto off = m_Client->Item(u"A0"_s, u"E"_s).putActivationRequest();
    off.setValue(false);
    Wait(off.send());
    const qint64 before = Requests();
    Wait(m_Client->Item(u"A0"_s, u"E"_s).snapshotRequest().send());
    EXPECT_EQ(Requests(), before) << "what is not active asks nothing";
    peer.Kill();
    peer.Start();
    qint64 most = 0;
    EXPECT_TRUE(WaitUntil([&] { return (most = std::max(most, snapshot())) > 2; }))
        << "after a new connection it is asked again";
}

TEST_F(Modbus, WhatItIsSilentAboutFailsAlone)
{
    ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp();
    ASSERT_TRUE(Becomes(u"R1"_s, Good));
    peer.Be("deaf 300");
    EXPECT_TRUE(
        WaitUntil([&] { return Why(u"R300"_s) == u"Failed: no answer in time" && Why(u"R301"_s) == Good; }, 20'000));
    EXPECT_EQ(Why(u"R299"_s) + Why(u"R499"_s), Good + Good);
    EXPECT_EQ(State(), 1);
}

TEST_F(Modbus, SeveralConnectionsReadAndWriteByTheFunctionsAskedFor)
{
    ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp(R"([[controller]]
name = "W"
device = "D"
item = [ { name = "Single", type = "ARRAY|UI2", variable = "holding:950-952", option = "write=single", scan = 2 },
         { name = "Block", type = "UI2", variable = "holding:960", option = "write=block", scan = 2 } ]
)",
             "3");
    ASSERT_TRUE(Becomes(u"R499"_s, Good));
    const auto put = [&](const QString& item, const Variant& value) {
        auto request = m_Client->Item(item, u"W"_s).putValueRequest();
        m_Client->Set(request.initValue(), value);
        return OutcomeOf([&] { Wait(request.send()); }).section(u": "_s, -1);
    };
    const Variant three(SafeArray(QList<quint16>{5, 6, 7}));
    const QString lacks = u"Illegal function (exception 1)."_s;
    peer.Be("lacks 16");
    EXPECT_EQ(put(u"Single"_s, three) + put(u"Block"_s, Variant(8)), u"done"_s + lacks);
    peer.Be("lacks 6");
    EXPECT_EQ(put(u"Single"_s, three) + put(u"Block"_s, Variant(8)), lacks + u"done"_s);
    EXPECT_EQ(Polled({u"-t4"_s, u"-r950"_s, u"-c3"_s}) + Polled({u"-t4"_s, u"-r960"_s}), u"5 6 78"_s);
    peer.Be("silent");
    EXPECT_TRUE(WaitUntil([&] { return State() == 3; }, 5000));
    peer.Be("right");
    EXPECT_TRUE(WaitUntil([&] { return State() == 1 && Why(u"R499"_s) == Good; }, 3000));
}

TEST_F(Modbus, DevicesAreLookedAtBeforeThereIsAPlant)
{
    const ModbusPeer peer(u"tcp"_s, QString::number(m_Port));
    ServeTcp();
    const auto outputOf = [](const QStringList& arguments) {
        QProcess process;
        process.start(RealServer::Program(), arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
    };
    EXPECT_EQ(outputOf({u"--plant"_s, m_Plant, u"--check"_s}).section(u": "_s, 1),
              u"1 controllers, 507 items\n127.0.0.1:%1: 160.0 requests a second\n"_s.arg(m_Port));
    const QString where = u"modbus-tcp://127.0.0.1:%1/1"_s.arg(m_Port);
    const QStringList lines = outputOf({u"--probe"_s, where, u"holding:1999-2000"_s}).split(u'\n');
    EXPECT_EQ(lines.value(1).simplified(), u"1999 07cf 1999 1999 ..");
    EXPECT_EQ(lines.value(2).simplified(), u"2000 Illegal data address (exception 2)");
    const QString both = outputOf({u"--probe"_s, where, u"holding:1999-2000"_s, u"coil:0-4"_s});
    WriteFile(m_Plant, both.mid(both.indexOf(u'#')).toUtf8());
    EXPECT_TRUE(outputOf({u"--plant"_s, m_Plant, u"--check"_s}).contains(u"1 controllers, 7 items"_s)) << "the draft";
}

TEST_F(Modbus, SerialLinesKnowWhatIsWrong)
{
    const SerialLine line;
    ModbusPeer peer(u"rtu"_s, line.End(0));
    Serve("protocol = \"modbus-rtu\"\nbaud = 115200\nparity = \"none\"\nquiet = 0.1\nserial = \"" +
          line.End(1).toUtf8() + '"');
    ASSERT_TRUE(Becomes(u"R499"_s, Good)) << Why(u"R499"_s).toStdString();
    EXPECT_EQ(PutNow(u"R7"_s, Variant(4711)), u"done");
    const std::pair<QByteArray, QString> modes[] = {{"silent", u"no answer in time"_s},
                                                    {"flipped", u"its answer is garbled: Invalid CRC"_s},
                                                    {"half", u"no answer in time"_s},
                                                    {"late 0.35", u"no answer in time"_s},
                                                    {"exception 6", u"Device busy (exception 6)"_s}};
    for (const auto& [mode, why] : modes) {
        peer.Be(mode);
        EXPECT_TRUE(Becomes(u"R1"_s, u"Failed: "_s + why)) << mode.toStdString() << Why(u"R1"_s).toStdString();
        peer.Be("right");
        EXPECT_TRUE(Becomes(u"R1"_s, Good)) << mode.toStdString() << Why(u"R1"_s).toStdString();
        EXPECT_TRUE(WaitUntil([&] {
            return Value(u"R7"_s) + Value(u"R499"_s) + Value(u"Far"_s) == u"18,471118,49918,1500";
        })) << mode.toStdString();
    }
}
