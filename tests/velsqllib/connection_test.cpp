#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "tests/support/PrintQt.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/StateFolder.h"

#include <QElapsedTimer>
#include <QTemporaryFile>
#include <QTest>

#include <gtest/gtest.h>

#include <limits>
#include <poll.h>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

Variant Text(const QString& text)
{
    return Variant(text);
}

class ConnectionTest : public ::testing::Test, public ControllerEvents
{
protected:
    ConnectionTest()
    {
        m_Server.Start();
        m_Engine = m_Library.CreateEngine();
        Controller()->Execute(u"state 2"_s, {}); // nothing is scanned: the only events are those that a test fires
    }

    ItemRef Item(const QString& name) { return Controller()->get_Item(Text(name)); }
    ControllerRef Controller() { return m_Engine->get_Controller(Text(u"PLC1"_s)); }

    /// The description of the error that a call ends with; "none" when it succeeds.
    template <typename Call>
    static QString ErrorOf(Call&& call)
    {
        try {
            call();
            return u"none"_s;
        } catch (const DescribedError& error) {
            return error.Description();
        }
    }

    static QString ReadOf(const ItemRef& item)
    {
        return ErrorOf([&] { item->get_Value(); });
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

template <typename T>
Variant Array(const QList<T>& elements, qint32 lowerBound = 0)
{
    return SafeArray(elements, lowerBound);
}

Variant Nested(int levels)
{
    return levels == 1 ? Array<qint16>({1, 2}) : Array<Variant>({Nested(levels - 1), Null{}});
}

TEST_F(ConnectionTest, EveryValueComesBackAsItWasSent)
{
    const QString oddText = QString::fromUtf16(u"a\0b", 3) + QChar(0xD800) + u"ü漢&<b>\r\n"_s;
    QList<Variant> values;
    values << Variant() << Null{} << true << qint8{-128} << quint8{255} << qint16{-32768} << quint16{65535}
           << std::numeric_limits<qint32>::min() << std::numeric_limits<quint32>::max() << 0.1f << -0.0
           << std::numeric_limits<double>::quiet_NaN() << Currency{std::numeric_limits<qint64>::min()} << Date{-1.25}
           << QString() << oddText << ObjectRef();
    values << Array<bool>({true, false, true}, -3) << Array<qint8>({-1, 2}) << Array(QList<quint8>(1'000'000, 7))
           << Array<qint16>({}) << Array<quint16>({1}) << Array<qint32>({1, -2}) << Array<quint32>({4'000'000'000})
           << Array<float>({1.5f}) << Array<double>({2.5, 1e300}) << Array<Currency>({{1}, {-1}})
           << Array<Date>({{45000.5}}) << Array<QString>({oddText, QString()}) << Array<ObjectRef>({nullptr})
           << Array<Variant>({qint32{1}, Null{}, Text(oddText), Variant()}, 1) << Nested(MaxArrayDepth);
    const auto echo = [controller = Controller()](const Variant& value) {
        return controller->Execute(u"echo"_s, value);
    };
    for (const Variant& value : values) EXPECT_TRUE(echo(value) == value) << "type " << value.Type();

    const auto item = std::dynamic_pointer_cast<VelSQLItem>(echo(ObjectRef(Item(u"D100"_s))).Get<ObjectRef>());
    ASSERT_TRUE(item);
    EXPECT_EQ(item->get_Name(), u"D100");
    EXPECT_EQ(ErrorOf([&] { item->put_Value(Nested(MaxArrayDepth + 1)); }),
              u"Arrays are nested deeper than 16 levels.");
    EXPECT_EQ(item->get_Value(), Variant(qint32{25})) << "nothing was sent";
}

TEST_F(ConnectionTest, ErrorsCarryTheServersTextByteForByte)
{
    const QStringList texts = {u"plain"_s, QString(), u"two\r\n\nlines"_s, u"ü漢 &<b>"_s, u"remote exception: twice"_s};
    for (const QString& text : texts) EXPECT_EQ(ErrorOf([&] { m_Engine->Execute(u"fail "_s + text); }), text);
    EXPECT_EQ(ErrorOf([&] { m_Engine->get_Controller(Text(u"Nobody"_s)); }), u"Controller \"Nobody\" does not exist.");
    EXPECT_EQ(ErrorOf([&] { Controller()->get_Item(Text(u"<b>&\\"_s)); }),
              u"Controller \"PLC1\" has no item \"<b>&\\\".");
}

TEST(Connection, DroppedObjectsAreReleasedWithoutAnotherCallAlsoWhenTheSocketDoesNotTakeThatAtOnce)
{
    RealServer server;
    QTemporaryFile plant;
    ASSERT_TRUE(plant.open());
    plant.write("[[controller]]\nname = \"C\"\n");
    for (int i = 0; i < 1000; ++i) plant.write("[[controller.item]]\nname = \"" + QByteArray::number(i) + "\"\n");
    plant.close();
    server.Start({u"--plant"_s, plant.fileName()});
    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.AttachEngine();
    std::vector<ItemRef> items;
    for (int i = 0; i < 1000; ++i)
        items.push_back(engine->get_Controller(Text(u"C"_s))->get_Item(Text(QString::number(i))));
    EXPECT_TRUE(server.Answer(u"references"_s).contains(u"items 1000"));
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
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.size() >= 40'000; }, 60'000)) << m_Events.size();
    QTest::qWait(50);
    EXPECT_EQ(m_Events, QStringList(10'000, u"D100=25"_s) + QStringList(30'000, u"state 3"_s));
}

TEST_F(ConnectionTest, AServerThatGoesIsReportedAndTheNextOneIsUsedByTheSameObjects)
{
    const ItemRef item = Item(u"D100"_s);
    const ControllerRef controller = Controller();
    const EventSubscriptionRef subscription = controller->Subscribe(*this);
    m_Server.Kill();
    EXPECT_EQ(ReadOf(item), u"The connection to the server was lost; the call may still have taken effect.");
    for (int i = 0; i < 49; ++i) EXPECT_EQ(ReadOf(item), u"The server is not running.");

    m_Server.Start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return ReadOf(item) == u"none"; }, 10'000));
    m_Engine->Execute(u"state PLC1 2"_s);
    EXPECT_EQ(controller->get_Item(Text(u"Recipe"_s))->get_Name(), u"Recipe");
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.contains(u"state 2"_s); }, 10'000));
    m_Events.clear();
    m_Engine->Execute(u"fire PLC1 item D100 1"_s);
    m_Engine->Execute(u"fire PLC1 state 1 1"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.size() >= 2; }, 10'000));
    EXPECT_EQ(m_Events, QStringList({u"D100=25"_s, u"state 1"_s}));
}

TEST_F(ConnectionTest, ASlowCallInALivingServerIsWaitedForAndAHangingServerIsNot)
{
    EXPECT_EQ(ErrorOf([&] { m_Engine->Execute(u"sleep 1500"_s); }), u"none");

    const ItemRef item = Item(u"D100"_s);
    m_Server.Suspend();
    EXPECT_EQ(ReadOf(item), u"The server does not answer; the call was given up and may still take effect.");
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 49; ++i) EXPECT_EQ(ReadOf(item), u"The server does not answer.");
    EXPECT_LT(time.elapsed(), 5'000) << "a refresh of many rows must not wait at each";
    m_Server.Resume();
    EXPECT_TRUE(QTest::qWaitFor([&] { return ReadOf(item) == u"none"; }, 10'000));
}

TEST_F(ConnectionTest, AServerThatEndsWhileItIsAttachedIsFollowedByTheNext)
{
    m_Engine.reset();
    m_Server.Kill();
    std::jthread ending([path = m_Server.SocketPath()] {
        const ListeningSocket last(path);
        pollfd waiting{last.Descriptor(), POLLIN, 0};
        poll(&waiting, 1, 10'000); // somebody has come: it ends
    });
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(m_Server.SocketPath()); }));
    RemoteLibrary library(m_Server.SocketPath(), RealServer::Program());
    EXPECT_EQ(ErrorOf([&] { library.CreateEngine()->Execute(u"terminate"_s); }), u"none");
}

TEST_F(ConnectionTest, WithoutAServerOrAProgramToStartTheDescriptionHelps)
{
    m_Engine.reset();
    m_Server.Kill();
    RemoteLibrary alone(m_Server.SocketPath(), QString());
    EXPECT_EQ(ErrorOf([&] { alone.CreateEngine(); }), u"No VelSQL server is running, and the program \"velsqlserver\" "
                                                      u"was found neither beside this program nor on the path.");
    const QTemporaryDir folder;
    QFile program(folder.filePath(u"server"_s));
    ASSERT_TRUE(program.open(QFile::WriteOnly) && program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    program.write(
        "#!/bin/sh\nprintf '2026-01-02 03:04:05.678 %s\\n' 'info: Plant read.' 'error: No room.' >&2\nexit 1\n");
    program.close();
    RemoteLibrary broken(m_Server.SocketPath(), program.fileName());
    EXPECT_EQ(ErrorOf([&] { broken.CreateEngine(); }),
              u"The VelSQL server %1 could not start. No room.\nIts log is %2."_s.arg(
                  program.fileName(), ServerLogPath(m_Server.SocketPath())));
}

TEST(StartedServer, LogsToBoundedPrivateFilesThatComeBackWhenTheyAreDeleted)
{
    const RealServer folders;
    const QString log = ServerLogPath(folders.SocketPath());
    EXPECT_EQ(log, StateFolder() + u"/server.log"_s);
    EXPECT_NE(ServerLogPath(StateFolder() + u"/other.sock"_s), log) << "another socket's";
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
