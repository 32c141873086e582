#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

#include <QImage>

TEST(DemoPlant, HasEveryTypeAndATankWhoseSignalsMove)
{
    ServerRun server;
    TestClient client(server.SocketPath());
    QSet<VarType> types;
    QStringList failures;
    for (const QString& name : {u"PLC1"_s, u"R&D Nürnberg"_s, u"Archive"_s}) {
        for (const QString& item : client.ItemNames(name)) {
            const QString outcome = OutcomeOf([&] { types << client.Value(item, name).Type(); });
            if (outcome != u"done") failures << outcome;
        }
    }
    EXPECT_EQ(failures, QStringList(u"Item \"Reset\" of controller \"PLC1\": it is write only and cannot be read."_s));
    QSet<VarType> missing = {VT_EMPTY, VT_NULL, VT_I1, VT_UI2, VT_UI4, VT_DISPATCH, ArrayOf(VT_VARIANT)};
    for (const VarType type : {VT_BOOL, VT_UI1, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY, VT_DATE, VT_BSTR})
        missing << type << ArrayOf(type);
    EXPECT_EQ(missing.subtract(types), QSet<VarType>());

    for (const QString& name : {u"Counter"_s, u"Level"_s, u"Temperature"_s}) {
        WaitUntil([&] { return !client.Value(name).IsEmpty(); });
        const Variant before = client.Value(name);
        EXPECT_TRUE(WaitUntil([&] { return client.Value(name) != before; })) << name.toStdString();
    }
    const auto bytes = client.Value(u"Picture"_s).Array().Of<quint8>();
    const QImage picture = QImage::fromData(bytes.constData(), static_cast<int>(bytes.size()), "BMP");
    EXPECT_EQ(picture.size(), QSize(64, 48));
    EXPECT_NE(picture.pixel(32, 40), picture.pixel(32, 10)) << "the tank is not full";
}
