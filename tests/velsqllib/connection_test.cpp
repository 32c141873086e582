#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "tests/velsqllib/WireServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace {

using namespace std::chrono_literals;

Variant Text(const QString& text)
{
    return Variant(text);
}

class ConnectionTest : public ::testing::Test, public ControllerEvents
{
protected:
    ConnectionTest()
    {
        StartServer();
        m_Engine = m_Library.CreateEngine();
    }

    void StartServer() { m_Server.emplace(m_SocketPath); }
    ItemRef Item(const QString& name) { return Controller()->get_Item(Text(name)); }
    ControllerRef Controller() { return m_Engine->get_Controller(Text(QStringLiteral("PLC1"))); }

    /// The description of the error that a call ends with; "none" when it succeeds.
    template <typename Call>
    static QString ErrorOf(Call&& call)
    {
        try {
            call();
            return QStringLiteral("none");
        } catch (const DescribedError& error) {
            return error.Description();
        }
    }

    void OnChangeState(qint32 state) override { m_Events << QStringLiteral("state %1").arg(state); }
    void OnChangeItem(const ItemRef& item) override
    {
        m_Events << QStringLiteral("%1=%2").arg(item->get_Name()).arg(item->get_Value().Get<qint32>());
    }

    QTemporaryDir m_Folder;
    QString m_SocketPath = m_Folder.filePath(QStringLiteral("velsql/server.sock"));
    std::optional<WireServer> m_Server;
    RemoteLibrary m_Library{m_SocketPath, QString(), {.Interval = 30ms, .BeforePing = 100ms, .ForPingAnswer = 400ms}};
    EngineRef m_Engine;
    QStringList m_Events;
};

SafeArray Nested(int levels)
{
    return levels == 1 ? SafeArray(QList<qint16>{1, 2})
                       : SafeArray(QList<Variant>{Variant(Nested(levels - 1)), Null{}});
}

TEST_F(ConnectionTest, EveryValueComesBackAsItWasSent)
{
    const QString oddText = QString::fromUtf16(u"a\0b", 3) + QChar(0xD800) + QStringLiteral("ü漢&<b>\r\n");
    const QList<Variant> values = {Variant(),
                                   Null{},
                                   true,
                                   qint8{-128},
                                   quint8{255},
                                   qint16{-32768},
                                   quint16{65535},
                                   std::numeric_limits<qint32>::min(),
                                   std::numeric_limits<quint32>::max(),
                                   0.1f,
                                   -0.0,
                                   std::numeric_limits<double>::quiet_NaN(),
                                   Currency{std::numeric_limits<qint64>::min()},
                                   Date{-1.25},
                                   oddText,
                                   QString(),
                                   QString(500'000, u'x'),
                                   ObjectRef(),
                                   SafeArray(QList<bool>{true, false, true}, -3),
                                   SafeArray(QList<qint8>{-1, 2}),
                                   SafeArray(QList<quint8>(1'000'000, 7)),
                                   SafeArray(QList<qint16>{}),
                                   SafeArray(QList<quint16>{1}),
                                   SafeArray(QList<qint32>{1, -2}),
                                   SafeArray(QList<quint32>{4'000'000'000}),
                                   SafeArray(QList<float>{1.5f}),
                                   SafeArray(QList<double>{2.5, 1e300}),
                                   SafeArray(QList<Currency>{{1}, {-1}}),
                                   SafeArray(QList<Date>{{45000.5}}),
                                   SafeArray(QList<QString>{oddText, QString()}),
                                   SafeArray(QList<ObjectRef>{nullptr}),
                                   SafeArray(QList<Variant>{qint32{1}, Null{}, Text(oddText), Variant()}, 1),
                                   Nested(MaxValueDepth)};
    const ItemRef item = Item(QStringLiteral("B"));
    for (qsizetype i = 0; i < values.size(); ++i) {
        item->put_Value(values[i]);
        EXPECT_TRUE(item->get_Value() == values[i]) << "value " << i;
    }
}

TEST_F(ConnectionTest, ObjectsTravelInsideValues)
{
    Item(QStringLiteral("B"))->put_Value(ObjectRef(Item(QStringLiteral("A"))));
    const Variant value = Item(QStringLiteral("B"))->get_Value();
    const auto item = std::dynamic_pointer_cast<VelSQLItem>(value.Get<ObjectRef>());
    ASSERT_TRUE(item);
    EXPECT_EQ(item->get_Name(), u"A");
}

TEST_F(ConnectionTest, TooDeeplyNestedArraysAreRefusedAndNothingIsSent)
{
    const ItemRef item = Item(QStringLiteral("A"));
    EXPECT_EQ(ErrorOf([&] { item->put_Value(Nested(MaxValueDepth + 1)); }),
              u"Arrays are nested deeper than 16 levels.");
    EXPECT_EQ(item->get_Value(), Variant(qint32{25}));
}

TEST_F(ConnectionTest, ErrorsCarryTheServersTextByteForByte)
{
    const QStringList texts = {QStringLiteral("plain"), QString(), QStringLiteral("two\r\nlines\n"),
                               QStringLiteral("ü漢 &<b>"), QStringLiteral("remote exception: twice")};
    for (const QString& text : texts)
        EXPECT_EQ(ErrorOf([&] { m_Engine->Execute(QStringLiteral("fail ") + text); }), text);
    EXPECT_EQ(ErrorOf([&] { m_Engine->get_Controller(Text(QStringLiteral("Nobody"))); }), u"No controller Nobody");
    EXPECT_EQ(ErrorOf([&] { Controller()->get_Item(Text(QStringLiteral("<b>&\\"))); }), u"No item <b>&\\");
}

TEST_F(ConnectionTest, DroppedObjectsAreReleasedAtTheServerWithoutAnotherCall)
{
    std::optional<ItemRef> item = Item(QStringLiteral("A"));
    (*item)->get_Name();
    EXPECT_EQ(m_Server->LiveItems(), 1);
    item.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server->LiveItems() == 0; }, 2000));
}

TEST_F(ConnectionTest, EventsArriveInOrderBetweenOtherEventsAndNeverInsideACall)
{
    const ControllerRef controller = Controller();
    EventSubscriptionRef subscription = controller->Subscribe(*this);
    m_Engine->Execute(QStringLiteral("fire 3"));
    Item(QStringLiteral("A"))->get_Value();
    EXPECT_TRUE(m_Events.isEmpty()) << "delivered inside a call";
    const QStringList expected = {QStringLiteral("A=25"), QStringLiteral("A=25"), QStringLiteral("A=25"),
                                  QStringLiteral("state 3")};
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Events.size() >= 4; }, 2000));
    EXPECT_EQ(m_Events, expected);

    m_Engine->Execute(QStringLiteral("fire 2"));
    Item(QStringLiteral("A"))->get_Value(); // by now the events wait in the queue
    subscription.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server->LiveSubscriptions() == 0; }, 2000));
    QTest::qWait(20);
    EXPECT_EQ(m_Events, expected) << "delivered after the subscription had ended";
}

TEST_F(ConnectionTest, AServerThatGoesIsReportedAndTheNextOneIsUsedByTheSameObjects)
{
    const ItemRef item = Item(QStringLiteral("A"));
    const ControllerRef controller = Controller();
    const EventSubscriptionRef subscription = controller->Subscribe(*this);
    m_Server.reset();
    EXPECT_EQ(ErrorOf([&] { item->get_Value(); }),
              u"The connection to the server was lost; the call may still have taken effect.");
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 49; ++i) EXPECT_EQ(ErrorOf([&] { item->get_Value(); }), u"The server is not running.");
    EXPECT_LT(time.elapsed(), 500);

    StartServer();
    EXPECT_TRUE(QTest::qWaitFor([&] { return ErrorOf([&] { item->get_Value(); }) == u"none"; }, 3000));
    EXPECT_EQ(item->get_Name(), u"A");
    EXPECT_EQ(controller->get_Item(Text(QStringLiteral("B")))->get_Name(), u"B");
    m_Engine->Execute(QStringLiteral("fire 1"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return m_Events == QStringList({QStringLiteral("A=25"), QStringLiteral("state 1")});
        },
        2000));
}

TEST_F(ConnectionTest, ASlowCallInALivingServerIsWaitedForAndAHangingServerIsNot)
{
    EXPECT_EQ(ErrorOf([&] { m_Engine->Execute(QStringLiteral("sleep 1500")); }), u"none");

    const ItemRef item = Item(QStringLiteral("A"));
    m_Engine->Execute(QStringLiteral("hang 1500"));
    QTest::qSleep(50);
    EXPECT_EQ(ErrorOf([&] { item->get_Value(); }),
              u"The server does not answer; the call was given up and may still take effect.");
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 49; ++i) EXPECT_EQ(ErrorOf([&] { item->get_Value(); }), u"The server does not answer.");
    EXPECT_LT(time.elapsed(), 500);
    EXPECT_TRUE(QTest::qWaitFor([&] { return ErrorOf([&] { item->get_Value(); }) == u"none"; }, 3000));
}

TEST_F(ConnectionTest, WithoutAServerOrAProgramToStartTheDescriptionHelps)
{
    m_Engine.reset();
    m_Server.reset();
    RemoteLibrary alone(m_SocketPath, QString());
    EXPECT_EQ(ErrorOf([&] { alone.CreateEngine(); }), u"No VelSQL server is running, and the program \"velsqlserver\" "
                                                      u"was found neither beside this program nor on the path.");
    RemoteLibrary broken(m_SocketPath, QStringLiteral("/bin/false"));
    EXPECT_EQ(ErrorOf([&] { broken.CreateEngine(); }), u"The VelSQL server /bin/false could not start.");
}

} // namespace
