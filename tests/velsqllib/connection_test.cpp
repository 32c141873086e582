#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/StateFolder.h"

#include <QDir>
#include <QTemporaryFile>
#include <QTest>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class ConnectionTest : public ::testing::Test, public ControllerEvents
{
protected:
    ConnectionTest()
    {
        m_Server.Start();
        m_Engine = m_Library.CreateEngine();
        Controller()->Execute(u"state 2"_s, {}); // nothing is scanned: the only events are those that a test fires
    }

    ItemRef Item(const QString& name) { return Controller()->get_Item(Variant(name)); }
    ControllerRef Controller() { return m_Engine->get_Controller(Variant(u"PLC1"_s)); }

    static QString Read(const ItemRef& item)
    {
        return OutcomeOf([&] { return item->get_Value(); });
    }
    /// "done", or the description of the error.
    QString Execute(const QString& command)
    {
        return OutcomeOf([&] { m_Engine->Execute(command); });
    }

    void ExpectEvents(const QStringList& expected)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.size() >= expected.size(); }, 60'000)) << m_Events.size();
        QTest::qWait(50); // and no more
        EXPECT_EQ(std::exchange(m_Events, {}), expected);
    }
    void OnChangeState(qint32 state) override { m_Events << u"state %1"_s.arg(state); }
    void OnChangeItem(const ItemRef& item) override
    {
        m_Events << u"%1=%2"_s.arg(item->get_Name()).arg(item->get_Value().Get<qint32>());
    }

    RealServer m_Server;
    RemoteLibrary m_Library{
        m_Server.SocketPath(), QString(), {.Interval = 30ms, .BeforePing = 100ms, .ForPingAnswer = 1s}};
    EngineRef m_Engine;
    QStringList m_Events;
};

Variant Nested(int levels)
{
    return SafeArray(QList<Variant>{levels == 1 ? Variant(qint16{1}) : Nested(levels - 1), Null{}});
}

TEST_F(ConnectionTest, ASocketThatIsRemovedIsThereAgainAndItsClientsStay)
{
    const QFileInfo socket(m_Server.SocketPath());
    for (const bool withFolder : {false, true}) {
        EXPECT_TRUE(withFolder ? socket.dir().removeRecursively() : QFile::remove(socket.filePath()));
        RemoteLibrary other(m_Server.SocketPath(), QString());
        EXPECT_TRUE(QTest::qWaitFor([&] { return OutcomeOf([&] { other.AttachEngine()->Start(); }) == u"done"; }));
        EXPECT_EQ(Execute(u"calls"_s), u"done");
    }
    EXPECT_EQ(m_Server.Terminate(), 0);
    EXPECT_FALSE(socket.exists());
}

TEST_F(ConnectionTest, EveryValueComesBackAsItWasSent)
{
    const QString oddText = QString::fromUtf16(u"a\0b", 3) + QChar(0xD800) + u"ü漢&<b>\r\n"_s;
    QList<Variant> values = {Variant(oddText),
                             ObjectRef(),
                             SafeArray(QList<quint8>(1'000'000, 7)),
                             SafeArray(QList<QString>{oddText, QString()}),
                             SafeArray(QList<ObjectRef>{nullptr}),
                             Nested(MaxArrayDepth)};
    const QString simple = u"0;1;2,-32768;3,-2147483648;4,0.1;5,-0;5,NaN(4000000000000);6,-922337203685477.5808;"
                           u"7,1899-12-29 06:00:00;8,;11,True;16,-128;17,255;18,65535;19,4294967295;8194,;8195,1,-2;"
                           u"8196,1.5;8197,2.5,1E+300;8198,0.0001,-0.0001;8199,2023-03-15 12:00:00;"
                           u"8203,[-3..]True,False,True;8204,[1..]{3,1},{1},{0};8208,-1,2;8210,1;8211,4000000000"_s;
    for (const QString& text : simple.split(u';')) values << ReadTypedText(text);
    const auto echo = [controller = Controller()](const Variant& value) {
        return controller->Execute(u"echo"_s, value);
    };
    for (const Variant& value : values) EXPECT_TRUE(echo(value) == value) << "type " << value.Type();

    const auto item = std::dynamic_pointer_cast<VelSQLItem>(echo(ObjectRef(Item(u"D100"_s))).Get<ObjectRef>());
    ASSERT_TRUE(item);
    EXPECT_EQ(OutcomeOf([&] { item->put_Value(Nested(MaxArrayDepth + 1)); }),
              u"Arrays are nested deeper than 16 levels.");
    EXPECT_EQ(Read(item), u"3,25") << "nothing was sent";
}

TEST_F(ConnectionTest, ErrorsCarryTheServersTextByteForByte)
{
    const QStringList texts = {u"plain"_s, QString(), u"two\r\n\nlines"_s, u"ü漢 &<b>"_s, u"remote exception: twice"_s};
    for (const QString& text : texts) EXPECT_EQ(Execute(u"fail "_s + text), text);
}

TEST(Connection, DroppedObjectsAreReleasedWithoutAnotherCallAlsoWhenTheSocketDoesNotTakeThatAtOnce)
{
    RealServer server;
    QTemporaryFile plant;
    ASSERT_TRUE(plant.open());
    plant.write("[[controller]]\nname = \"C\"\n");
    for (int i = 0; i < 10'000; ++i) plant.write("[[controller.item]]\nname = \"" + QByteArray::number(i) + "\"\n");
    plant.close();
    server.Start({u"--plant"_s, plant.fileName()});
    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.AttachEngine();
    std::vector<ItemRef> items;
    for (int i = 0; i < 10'000; ++i)
        items.push_back(engine->get_Controller(Variant(u"C"_s))->get_Item(Variant(QString::number(i))));
    EXPECT_TRUE(server.Answer(u"references"_s).contains(u"items 10000"));
    server.Suspend();
    items.clear();
    QTest::qWait(50);
    server.Resume();
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.Answer(u"references"_s) == NothingHeld; }, 10'000))
        << server.Answer(u"references"_s).toStdString();
}

TEST_F(ConnectionTest, OfAStormOfEventsNoneIsLostNorOutOfOrder)
{
    const EventSubscriptionRef subscription = Controller()->Subscribe(*this);
    m_Engine->Execute(u"fire PLC1 item D100 10000"_s);
    m_Engine->Execute(u"fire PLC1 state 3 30000"_s);
    ExpectEvents(QStringList(10'000, u"D100=25"_s) + QStringList(30'000, u"state 3"_s));
}

TEST_F(ConnectionTest, AServerThatGoesIsReportedAndTheNextOneIsUsedByTheSameObjects)
{
    const ItemRef item = Item(u"D100"_s);
    const ControllerRef controller = Controller();
    const EventSubscriptionRef subscription = controller->Subscribe(*this);
    controller->AddItem(SafeArray(UntouchedDefinition()));
    const ItemRef added = Item(u"New"_s);
    m_Server.Kill();
    EXPECT_EQ(Read(item), u"The connection to the server was lost; the call may still have taken effect.");
    EXPECT_EQ(Read(item), u"The server is not running.");
    EXPECT_FALSE(m_Library.IsPrompt());

    m_Server.Start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Read(item) == u"3,25"; }, 10'000));
    Execute(u"state PLC1 2"_s);
    EXPECT_EQ(controller->get_Item(Variant(u"Recipe"_s))->get_Name(), u"Recipe");
    EXPECT_EQ(Read(added), u"Controller \"PLC1\" has no item \"New\".");
    controller->AddItem(SafeArray(UntouchedDefinition()));
    EXPECT_EQ(Read(added), u"0") << "it is looked for again";
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.contains(u"state 2"_s); }, 10'000));
    m_Events.clear();
    m_Engine->Execute(u"fire PLC1 item D100 1"_s);
    m_Engine->Execute(u"fire PLC1 state 1 1"_s);
    ExpectEvents({u"D100=25"_s, u"state 1"_s});
}

TEST_F(ConnectionTest, ASlowCallInALivingServerIsWaitedForAndAHangingServerIsNot)
{
    EXPECT_EQ(Execute(u"sleep 1500"_s), u"done");
    EXPECT_FALSE(m_Library.IsPrompt());

    const ItemRef item = Item(u"D100"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Read(item) == u"3,25" && m_Library.IsPrompt(); }));
    m_Server.Suspend();
    EXPECT_EQ(Read(item), u"The server does not answer; the call was given up and may still take effect.");
    EXPECT_EQ(Read(item), u"The server does not answer.") << "a refresh of many rows must not wait at each";
    m_Server.Resume();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Read(item) == u"3,25"; }, 10'000));
}

TEST_F(ConnectionTest, TellsWithoutACallThatAServerHasGoneOrHangsAndThatOneIsThereAgain)
{
    QStringList told;
    m_Library.OnServerChange([&] { told << m_Library.Absence(); });
    const ItemRef item = Item(u"D100"_s);
    const auto waitFor = [&](const QStringList& expected) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return told == expected; }, 20'000)) << told.join(u'|').toStdString();
        told.clear();
    };
    m_Server.Kill();
    waitFor({u"The server is not running."_s});
    m_Server.Start();
    waitFor({QString()});
    EXPECT_EQ(Read(item), u"3,25");
    m_Server.Suspend();
    EXPECT_EQ(told, QStringList()) << "not known before a call has failed";
    Read(item);
    waitFor({u"The server does not answer."_s});
    m_Server.Resume();
    waitFor({QString()});
    EXPECT_EQ(Read(item), u"3,25");
}

TEST_F(ConnectionTest, WithoutAServerOrAProgramToStartTheDescriptionHelps)
{
    m_Engine.reset();
    m_Server.Kill();
    RemoteLibrary alone(m_Server.SocketPath(), QString());
    EXPECT_FALSE(alone.IsPrompt());
    EXPECT_EQ(OutcomeOf([&] { alone.CreateEngine(); }),
              u"No VelSQL server is running, and the program \"velsqlserver\" "
              u"was found neither beside this program nor on the path.");
    const QTemporaryDir folder;
    QFile program(folder.filePath(u"server"_s));
    ASSERT_TRUE(program.open(QFile::WriteOnly) && program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    program.write(
        "#!/bin/sh\nprintf '2026-01-02 03:04:05.678 %s\\n' 'info: Plant read.' 'error: No room.' >&2\nexit 1\n");
    program.close();
    RemoteLibrary broken(m_Server.SocketPath(), program.fileName());
    EXPECT_EQ(OutcomeOf([&] { broken.CreateEngine(); }),
              u"The VelSQL server %1 could not start. No room.\nIts log is %2."_s.arg(
                  program.fileName(), ServerLogPath(m_Server.SocketPath())));
}

TEST(StartedServer, SaysWhatIsWrongWithItsPlantThoughItListenedBefore)
{
    const RealServer folders;
    const QString plant = qEnvironmentVariable("XDG_CONFIG_HOME") + u"/velsql/plant.toml"_s;
    ASSERT_TRUE(QDir().mkpath(QFileInfo(plant).path()));
    QFile file(plant);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[[controller]]\nname = 5\n");
    file.close();
    const QString said = OutcomeOf([&] { RemoteLibrary(folders.SocketPath(), RealServer::Program()).CreateEngine(); });
    EXPECT_TRUE(said.contains(u" could not start. %1:2: name: a text must stand here\n"_s.arg(plant)))
        << said.toStdString();
}

TEST(StartedServer, LogsToBoundedPrivateFilesThatComeBackWhenTheyAreDeleted)
{
    const RealServer folders;
    const QString log = ServerLogPath(folders.SocketPath());
    EXPECT_EQ(log, StateFolder() + u"/server.log"_s);
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(10'000'000));
    file.close();
    const auto contains = [&](const QString& text) {
        return QTest::qWaitFor([&] { return file.open(QIODevice::ReadOnly) && file.readAll().contains(text.toUtf8()); },
                               20'000);
    };
    const EngineRef engine = RemoteLibrary(folders.SocketPath(), RealServer::Program()).CreateEngine();
    EXPECT_TRUE(contains(u" listens at "_s));
    EXPECT_EQ(file.permissions() & QFile::Permissions(0x77), QFile::Permissions());
    EXPECT_EQ(QFileInfo(log + u".1"_s).size(), 10'000'000);
    file.close();
    ASSERT_TRUE(file.remove());
    engine->Execute(u"terminate"_s);
    EXPECT_TRUE(contains(u"The server ends: A command ended it."_s));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !QFile::exists(folders.SocketPath()); }, 20'000));
}

} // namespace

TEST(StateFolder, IsMadeForItsUserOnlyAndNoPathIsTooOdd)
{
    MakePrivateFolder({});
    MakePrivateFolder(u"/"_s);
    const QTemporaryDir place;
    const QString folder = place.filePath(u"a/b/c"_s);
    MakePrivateFolder(folder);
    for (const QString& made : {folder, place.filePath(u"a"_s)})
        EXPECT_EQ(QFile::permissions(made) & (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther),
                  QFile::Permissions());
    EXPECT_TRUE(QFileInfo(folder).isDir());
}
