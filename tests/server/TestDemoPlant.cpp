#include "core/automation/PlainText.h"
#include "server/plant/Convert.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

const QString s_Lab = QStringLiteral("Lab <b>&Test</b>\\Nürnberg");

QList<QString> Names(const Variant& names)
{
    return names.Array().Of<QString>();
}

} // namespace

TEST(DemoPlant, HasEveryTypeAndAnswersEverything)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const auto controllers =
        Names(ReadValue(client.Wait(client.Engine.getControllerNamesRequest().send()).getResult(), client.Objects));
    EXPECT_EQ(controllers, QList<QString>({QStringLiteral("PLC1"), s_Lab, QStringLiteral("Archive")}));
    QSet<VarType> types;
    QStringList failures;
    for (const QString& name : controllers) {
        auto controller = client.Controller(name);
        for (const QString& itemName :
             Names(ReadValue(client.Wait(controller.getItemNamesRequest().send()).getResult(), client.Objects))) {
            auto item = client.Item(name, itemName);
            const auto attempt = [&](auto&& request) {
                const QString failure = FailureOf([&] { client.Wait(request.send()); });
                if (failure != QStringLiteral("succeeded")) failures.append(failure);
            };
            attempt(item.getDateTimeRequest());
            attempt(item.getTagRequest());
            attempt(item.getIdRequest());
            attempt(item.getLinkItemRequest());
            auto setting = item.getSettingDataRequest();
            setting.setIndex(35);
            attempt(kj::mv(setting));
            attempt(item.getValueRequest());
            if (failures.isEmpty() || !failures.last().contains(itemName))
                types.insert(client.Value(name, itemName).Type());
        }
    }
    EXPECT_EQ(
        failures,
        QStringList({QStringLiteral("Item \"Reset\" of controller \"PLC1\": it is write only and cannot be read.")}));
    for (const VarType scalar : {VT_EMPTY, VT_NULL, VT_BOOL, VT_UI1, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY, VT_DATE,
                                 VT_BSTR, VT_I1, VT_UI2, VT_UI4, VT_DISPATCH})
        EXPECT_TRUE(types.contains(scalar)) << scalar;
    for (const VarType element : {VT_BOOL, VT_UI1, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY, VT_DATE, VT_BSTR, VT_VARIANT})
        EXPECT_TRUE(types.contains(ArrayOf(element))) << element;
}

TEST(DemoPlant, PictureIsAPicture)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const Variant value = client.Value(QStringLiteral("PLC1"), QStringLiteral("Picture"));
    const auto bytes = value.Array().Of<quint8>();
    const QImage picture = QImage::fromData(bytes.constData(), static_cast<int>(bytes.size()), "BMP");
    EXPECT_EQ(picture.size(), QSize(64, 48));
    EXPECT_NE(picture.pixel(32, 40), picture.pixel(32, 10)) << "the tank is not full";
}

TEST(DemoPlant, SignalsMoveUntilItIsStopped)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    const QString plc = QStringLiteral("PLC1");
    const auto value = [&](const QString& name) { return client.Value(plc, name); };
    for (const QString& name : {QStringLiteral("Counter"), QStringLiteral("Level"), QStringLiteral("Temperature")}) {
        WaitUntil([&] { return !value(name).IsEmpty(); });
        const Variant before = value(name);
        EXPECT_TRUE(WaitUntil([&] { return value(name) != before; })) << name.toStdString();
    }
    client.Wait(client.Controller(plc).stopRequest().send());
    const Variant stopped = value(QStringLiteral("Counter"));
    EXPECT_FALSE(WaitUntil([&] { return value(QStringLiteral("Counter")) != stopped; }, 300));
    client.Wait(client.Controller(plc).snapshotRequest().send());
    EXPECT_EQ(value(QStringLiteral("Counter")), Variant(stopped.Get<qint32>() + 1));
}

TEST(DemoPlant, ConvertsWhatIsWrittenOrRefusesIt)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    struct Case
    {
        const char16_t* Item;
        Variant Written;
        QString Outcome; // the value read back, or the description
    };
    const QString refusal = QStringLiteral("Item \"%1\" of controller \"PLC1\": %2.");
    const Case cases[] = {
        {u"D100", Text(QStringLiteral(" 12 ")), QStringLiteral("12")},
        {u"D100", 2.5, QStringLiteral("2")},
        {u"D100", Text(QStringLiteral("abc")),
         refusal.arg(QStringLiteral("D100"), QStringLiteral("VT_I4: \"abc\" is not a number"))},
        {u"D100", 3e9, refusal.arg(QStringLiteral("D100"), QStringLiteral("3000000000 is out of the range of VT_I4"))},
        {u"D100", Variant(), refusal.arg(QStringLiteral("D100"), QStringLiteral("EMPTY cannot be written to it"))},
        {u"Pump", Text(QStringLiteral("True")), QStringLiteral("True")},
        {u"Price", Text(QStringLiteral("0.12345")), QStringLiteral("0.1234")},
        {u"Shift start", Text(QStringLiteral("2024-02-29 14:30:05")), QStringLiteral("2024-02-29 14:30:05")},
        {u"Recipe", 1.5, QStringLiteral("1.5")},
        {u"Level", 1.0, refusal.arg(QStringLiteral("Level"), QStringLiteral("it is read only and cannot be written"))},
        {u"Counts", 5, refusal.arg(QStringLiteral("Counts"), QStringLiteral("5 cannot become VT_ARRAY|VT_I4"))},
        {u"Set point copy", 77, QStringLiteral("77")},
        {u"D100", Null{}, refusal.arg(QStringLiteral("D100"), QStringLiteral("NULL cannot become VT_I4"))},
    };
    for (const Case& c : cases) {
        const QString item = QString::fromUtf16(c.Item);
        QString outcome = FailureOf([&] { client.PutValue(QStringLiteral("PLC1"), item, c.Written); });
        if (outcome == QStringLiteral("succeeded")) outcome = ToPlainText(client.Value(QStringLiteral("PLC1"), item));
        EXPECT_EQ(outcome, c.Outcome) << item.toStdString();
    }
    EXPECT_EQ(client.Value(QStringLiteral("PLC1"), QStringLiteral("D100")), Variant(77)) << "written along the link";
}

TEST(DemoPlant, DelayedWritesHappenLater)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    auto request = client.Item(QStringLiteral("PLC1"), QStringLiteral("D100")).putValueExRequest();
    request.setDelay(250);
    client.Set(request.initValue(), 99);
    client.Wait(request.send());
    const auto value = [&] { return client.Value(QStringLiteral("PLC1"), QStringLiteral("D100")); };
    EXPECT_EQ(value(), Variant(25));
    EXPECT_TRUE(WaitUntil([&] { return value() == Variant(99); }, 2'000));
}

TEST(DemoPlant, TellsSubscribersWhatChanges)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    QStringList seen;
    auto lab = client.Controller(s_Lab);
    client.Wait(lab.stopRequest().send());
    {
        const auto subscription = client.Subscribe(s_Lab, seen);
        client.Wait(lab.startRequest().send());
        client.Wait(lab.stopRequest().send());
        const QString name = QStringLiteral("Grenzwert <b>&oben</b>\\Süd °C");
        client.PutValue(s_Lab, name, 80.0);
        client.PutValue(s_Lab, name, 80); // the same
        EXPECT_TRUE(WaitUntil([&] { return seen.size() >= 3; }));
        EXPECT_EQ(seen, QStringList({QStringLiteral("state 1"), QStringLiteral("state 2"), s_Lab + u'\\' + name}));
    }
    client.Wait(lab.startRequest().send());
    EXPECT_FALSE(WaitUntil([&] { return seen.size() > 3; }, 300)) << "the subscription has been dropped";
}
