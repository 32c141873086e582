#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

void StartPeer(QProcess& peer, const QString& role, const QString& socket)
{
    peer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    peer.start(QCoreApplication::applicationDirPath() + u"/old_peer"_s, {role, socket});
    EXPECT_TRUE(peer.waitForReadyRead());
}

} // namespace

TEST(OldServer, IsAskedCallByCallForWhatItKnowsAndSaidToBeOlder)
{
    const QTemporaryDir folder;
    QProcess server;
    StartPeer(server, u"server"_s, folder.filePath(u"socket"_s));
    RemoteLibrary library(folder.filePath(u"socket"_s), QString());
    const EngineRef engine = library.CreateEngine();
    const ItemRef item = engine->FindItem(u"PLC1"_s, u"D100"_s).Item;
    QString name;
    Variant value;
    const QList<CallStep> steps = {{[&] { item->get_Name(); }, [&] { name = item->get_Name(); }},
                                   {[&] { item->get_Value(); }, [&] { value = item->get_Value(); }}};
    EXPECT_EQ(library.TakeSteps(steps, 0) + library.TakeSteps(steps, 1), 2);
    EXPECT_EQ(name + WriteTypedText(value), u"D1003,25");
    for (const quint32 most : {1U, VelSQLController::AllItems}) // the older server always answers both names
        engine->get_Controller(u"PLC1"_s)->UseItemNames(
            most, [&](const TextList& names) { EXPECT_EQ(names.Count(), most == 1 ? 1 : 2); });
    EXPECT_EQ(OutcomeOf([&] { engine->get_History()->ReadRaw({}, {}, {}, false, 1, {}); }),
              u"The server is too old for this operation.");
    EXPECT_TRUE(library.VersionNote().startsWith(u"The server is older than this program, "));
    server.kill();
    server.waitForFinished();
}

TEST(OldClient, IsServed)
{
    RealServer server;
    server.Start();
    QProcess client;
    StartPeer(client, u"client"_s, server.SocketPath());
    EXPECT_TRUE(client.waitForFinished());
    EXPECT_EQ(client.readAllStandardOutput(), "25");
    RemoteLibrary library(server.SocketPath(), QString());
    library.CreateEngine();
    EXPECT_EQ(library.VersionNote(), QString()) << "the same version";
}
