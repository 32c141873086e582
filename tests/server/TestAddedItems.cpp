#include "server/added/AddedItemsFile.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

namespace {

const QByteArray s_Plant = R"(keep_added_items = true # default
[[controller]]
name = "A" # first
    [[controller.item]]
    name = "x"

# the other one
[[controller]]
name = "B"
added_items = "sorted"
)";

const QString s_Description = u"say \"ä\\\"\n\U0001F600\u0001"_s;

/// A client that adds and removes items.
class Operator : public TestClient
{
public:
    using TestClient::TestClient;

    void Add(const QString& controller, const QString& name, const QString& link = {})
    {
        auto definition = UntouchedDefinition();
        definition[0] = name;
        definition[6] = s_Description;
        definition[8] = link;
        auto request = Controller(controller).addItemRequest();
        Set(request.initDefinition(), SafeArray(definition));
        Wait(request.send());
    }
    void AddRecording(const QString& controller, const QString& name, const QString& path)
    {
        auto definition = UntouchedDefinition();
        definition[0] = name;
        definition[2] = u"value"_s;
        definition[4] = qint16(4);
        definition[5] = path;
        auto request = Controller(controller).addItemRequest();
        Set(request.initDefinition(), SafeArray(definition));
        Wait(request.send());
    }
    void Remove(const QString& controller, const QString& name)
    {
        auto request = Controller(controller).removeItemRequest();
        request.setName(WireBytes(name));
        Wait(request.send());
    }
    /// Of all controllers of `s_Plant`.
    QString Names() { return ItemNames(u"A"_s).join(u' ') + u" | "_s + ItemNames(u"B"_s).join(u' '); }
};

/// A plant file, and servers that follow each other on it.
class AddedItemsTest : public ::testing::Test
{
protected:
    /// What `action` answers at a server of the plant file, which is then killed.
    QString At(const std::function<QString(Operator&)>& action)
    {
        m_Server.Start({u"--plant"_s, m_Path});
        const QString answer = action(*std::make_unique<Operator>(m_Server.SocketPath()));
        m_Server.Kill();
        return answer;
    }
    QString NamesWith(const QByteArray& plant)
    {
        WriteFile(m_Path, plant);
        return At(&Operator::Names);
    }

    RealServer m_Server;
    QTemporaryDir m_Folder;
    QString m_Path = m_Folder.filePath(u"plant.toml"_s);
};

} // namespace

TEST_F(AddedItemsTest, OutliveTheirServerUntilTheyAreRemoved)
{
    WriteFile(m_Path, s_Plant);
    At([](Operator& client) {
        client.Add(u"B"_s, u"c"_s, u"A\\x"_s);
        client.Add(u"B"_s, u"a"_s, u"c"_s);
        client.Add(u"A"_s, u"gone"_s);
        client.Remove(u"B"_s, u"c"_s);
        client.Add(u"B"_s, u"c"_s, u"A\\x"_s); // now behind the one that is linked to it
        client.Remove(u"A"_s, u"gone"_s);
        return QString();
    });
    const auto describe = [](Operator& client) {
        return FromWireText(Wait(client.Item(u"c"_s, u"B"_s).getDescriptionRequest().send()).getResult());
    };
    EXPECT_EQ(At(describe), s_Description);
    const QString file = AddedItemsFile::PathFor(m_Path);
    EXPECT_EQ(QFile::permissions(file) & QFile::Permissions(0x77), QFile::Permissions());

    EXPECT_EQ(NamesWith(QByteArray(s_Plant).replace("\"x\"", "\"y\"")), u"y | ") << "what does not fit";
    WriteFile(file, ContentOf(file).toUtf8() + "\n[[item]]\ncontroller = \"A\"\ndefin"); // torn by a machine's stop
    for (int i = 0; i < 2; ++i) EXPECT_EQ(NamesWith(s_Plant), u"x | a c") << "stays aside and returns";
    EXPECT_TRUE(ContentOf(file).endsWith(u"\ndefin\n"));

    EXPECT_EQ(NamesWith(QByteArray(s_Plant).replace("= true", "= false")), u"x | ");
    At([](Operator& client) {
        client.Add(u"A"_s, u"n"_s);
        return QString();
    });
    EXPECT_EQ(NamesWith(s_Plant), u"x | a c") << "nothing was kept meanwhile";
}

TEST_F(AddedItemsTest, StayInTheirFileWhateverAnEditorHasMadeOfIt)
{
    WriteFile(m_Path, s_Plant);
    At([](Operator& client) {
        client.Add(u"A"_s, u"first"_s);
        client.Add(u"A"_s, u"second"_s);
        return QString();
    });
    const QString file = AddedItemsFile::PathFor(m_Path);
    const QByteArray whole = ContentOf(file).toUtf8();
    WriteFile(file, "\xEF\xBB\xBF\xEF\xBB\xBF" + QByteArray(whole).replace('\n', "\r\n"));
    EXPECT_EQ(NamesWith(s_Plant), u"x first second | ");
    const QByteArray damaged = "[item]]" + whole.mid(whole.indexOf("]]\n") + 2) + "\n[[item]]\n# \xff\n[[aside]] \x0b";
    WriteFile(file, damaged);
    EXPECT_EQ(NamesWith(s_Plant), u"x second | ");
    AddedItemsFile again(file, {});
    EXPECT_EQ(again.Read().size(), 1);
    EXPECT_EQ(again.UnreadableCount(), 3) << "the head, what is no UTF-8, and an empty item";
}

TEST_F(AddedItemsTest, AreKeptAsSoonAsTheDiskTakesThem)
{
    WriteFile(m_Path, s_Plant);
    const QString file = AddedItemsFile::PathFor(m_Path);
    const QString folder = QFileInfo(file).path();
    QDir().mkpath(QFileInfo(folder).path());
    WriteFile(folder, "in the way");
    At([&](Operator& client) {
        client.Add(u"A"_s, u"first"_s);
        QFile::remove(folder);
        EXPECT_TRUE(WaitUntil([&] { return QFile::exists(file); }));
        return QString();
    });
    EXPECT_EQ(At(&Operator::Names), u"x first | ");
}

TEST_F(AddedItemsTest, StandInThePlantsTextAndAreReadFromIt)
{
    WriteFile(m_Path, s_Plant);
    const QString text = At([](Operator& client) {
        client.Add(u"A"_s, u"first"_s);
        client.Add(u"B"_s, u"second"_s, u"A\\first"_s);
        return client.Execute(u"plant"_s).Get<QString>();
    });
    EXPECT_TRUE(text.contains(u"]\n\n# the other one\n[[controller]]\n")) << text.toStdString();
    QFile::remove(AddedItemsFile::PathFor(m_Path));
    EXPECT_EQ(NamesWith(text.toUtf8()), u"x first | second");
    EXPECT_EQ(EndOfServer({u"--check"_s, u"--plant"_s, m_Path})[0], u"0");
    WriteFile(m_Path, "[[controller]]\nname = \"A\"\n[[controller.item]]\ndefinition = [1]\n");
    EXPECT_EQ(EndOfServer({u"--check"_s, u"--plant"_s, m_Path})[1],
              m_Path + u":4: definition: An item definition is an array of 41 variants."_s);
}

TEST_F(AddedItemsTest, ComeAlongWhenAServiceTakesThePlaceOfAServerThatIsNone)
{
    m_Server.Start();
    const QStringList asService = {u"--socket"_s, m_Server.SocketPath(), u"--service"_s};
    Operator(m_Server.SocketPath()).Add(u"Archive"_s, u"note"_s);
    QProcess service;
    service.start(RealServer::Program(), asService);
    EXPECT_TRUE(m_Server.Process().waitForFinished(5'000));
    EXPECT_EQ(m_Server.Process().exitCode(), 0);
    const auto names = [&] { return TestClient(m_Server.SocketPath()).ItemNames(u"Archive"_s).join(u' '); };
    EXPECT_TRUE(WaitUntil([&] { return OutcomeOf(names) == u"note"; }));
    EXPECT_EQ(EndOfServer(asService)[0], u"1") << "another service";
    service.terminate();
    service.waitForFinished();
    m_Server.Start();
    EXPECT_EQ(names(), QString()) << "the demo plant forgets";
    m_Server.Kill();
    WriteFile(m_Path, s_Plant);
    m_Server.Start({u"--plant"_s, m_Path});
    EXPECT_EQ(EndOfServer(asService)[1], u"error: A server is already running at %1."_s.arg(m_Server.SocketPath()));
}

TEST_F(AddedItemsTest, ARecordingIsReadWhileTheServerGoesOn)
{
    const QString large = m_Folder.filePath(u"large.csv"_s), broken = m_Folder.filePath(u"broken.csv"_s);
    QByteArray rows;
    for (int i = 0; i < 900'000; ++i) rows += QByteArray::number(i) + ",2026-11-22 12:00:00\n";
    WriteFile(m_Path, s_Plant);
    WriteFile(large, rows);
    WriteFile(broken, "x\n");
    const QString answer = At([&](Operator& client) {
        QElapsedTimer passed;
        passed.start();
        client.AddRecording(u"A"_s, u"Large"_s, large);
        const qint64 added = passed.elapsed();
        EXPECT_TRUE(
            WaitUntil([&] { return WriteTypedText(client.Value(u"Large"_s, u"A"_s)).startsWith(u"8,2026"); }, 60'000));
        EXPECT_LT(added, passed.elapsed() / 2) << "of what reading it takes";
        return OutcomeOf([&] { client.AddRecording(u"A"_s, u"Broken"_s, broken); });
    });
    EXPECT_EQ(answer,
              u"Element 2 (Variable Name): %1:1: a time stamp, a comma and a value must stand here."_s.arg(broken));
}
