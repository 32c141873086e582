#include "core/automation/SafeArray.h"
#include "server/plantfile/PlantFile.h"
#include "server/plantfile/ReplayFile.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestPlant.h"

namespace {

/// A plant file with the given text, and what reading it says.
class PlantFileTest : public ::testing::Test
{
protected:
    /// The mistakes with their lines, the folder cut away.
    QString MistakesIn(const QByteArray& text)
    {
        WriteFile(m_Path, text);
        const QString outcome = OutcomeOf([&] { m_History = ReadPlantFile(m_Path, m_Plant.World); });
        return QString(outcome).remove(m_Folder.path() + u'/');
    }

    QTemporaryDir m_Folder;
    QString m_Path = m_Folder.filePath(u"plant.toml"_s);
    TestPlant m_Plant;
    HistorySettings m_History;
};

} // namespace

TEST_F(PlantFileTest, EveryMistakeIsSaidWithItsLine)
{
    EXPECT_TRUE(MistakesIn("a = 1\n[b\n").startsWith(u"plant.toml:2: ")) << "no TOML";
    EXPECT_EQ(MistakesIn(R"(colour = "red"
[history]
enabled = "yes"
[[history.destination]]
connection = "Driver=Oracle;Database=x"
[[controller]]
name = "A"
scan_times = [100, 1000]
  [[controller.item]]
  name = "x"
  type = "I5"
  links = ["B\\y"]
  [[controller.item]]
  name = "x"
  attribute = "readonly"
  [[controller.item]]
  type = "I2"
  value = 70000
  [[controller.item]]
  name = "z"
  type = "BOOL"
  signal = { form = "sine", period = 0, amplitude = 3 }
  [[controller.item]]
  name = "r"
  type = "I4"
  signal = { form = "replay", file = "r.csv" }
[[controller]]
name = "A"
)"),
              u"plant.toml:1: colour is not known here\n"
              "plant.toml:3: enabled: true or false must stand here\n"
              "plant.toml:5: connection: The connection string names a driver that is not there: there are SQLite "
              "and PostgreSQL.\n"
              "plant.toml:8: scan_times: three whole numbers must stand here, milliseconds from 0 to 86400000\n"
              "plant.toml:11: type: \"I5\" is no type such as I4 or ARRAY|BSTR\n"
              "plant.toml:12: links: the item \"B\\y\" does not exist\n"
              "plant.toml:14: name: item \"x\" exists already\n"
              "plant.toml:15: attribute: \"readonly\" is none of read-write, read-only, write-only\n"
              "plant.toml:16: name is missing\n"
              "plant.toml:18: value: 70000 is out of the range of VT_I2\n"
              "plant.toml:22: amplitude is not known here\n"
              "plant.toml:22: period: it must be more than 0\n"
              "plant.toml:26: file: r.csv cannot be read: No such file or directory\n"
              "plant.toml:28: name: controller \"A\" exists already");
    WriteFile(m_Path, "[[controller]]\n");
    for (const QStringList& arguments : {QStringList(u"--check"_s), QStringList()})
        EXPECT_EQ(EndOfServer(arguments + QStringList({u"--plant"_s, m_Path, u"--socket"_s, m_Path + u".sock"_s})),
                  QStringList({u"1"_s, m_Path + u":1: name is missing"_s}));
}

TEST_F(PlantFileTest, RecordedValuesAreReplayedInTheirTimes)
{
    const QString path = m_Folder.filePath(u"r.csv"_s);
    WriteFile(path, "# time,value\n2024-01-31 12:00:00,1\n\n2024-01-31 12:00:00.500,\"2\"\n2024-01-31 12:00:02,3\n");
    const auto rows = ReadReplayFile(path, VT_I4);
    ReplaySignal once(rows, false);
    ReplaySignal again(rows, true);
    const std::tuple<double, int, int> cases[] = {{0.0, 1, 1}, {0.499, 1, 1}, {0.51, 2, 2},
                                                  {1.9, 2, 2}, {2.1, 3, 1},   {2.6, 3, 2}};
    for (const auto& [seconds, stays, repeats] : cases) {
        EXPECT_EQ(once.Next(seconds, VT_I4), Variant(stays)) << seconds;
        EXPECT_EQ(again.Next(seconds, VT_I4), Variant(repeats)) << seconds;
    }
    WriteFile(path, "1,1\n2,x\n");
    EXPECT_TRUE(OutcomeOf([&] { ReadReplayFile(path, VT_I4); }).endsWith(u"r.csv:2: VT_I4: \"x\" is not a number"));
}

TEST_F(PlantFileTest, HistoryDestinationsAreRead)
{
    EXPECT_EQ(MistakesIn(R"([history]
enabled = false
statement_timeout = 0
result_megabytes = 3
[[history.destination]]
max_record = 5
[[history.destination]]
connection = "Driver=PostgreSQL;Database=d"
table = "mine"
)"),
              u"done");
    const auto& [first, second] = m_History.Destinations;
    EXPECT_TRUE(!m_History.Enabled && first.MaxRecord == 5 && first.ConnectionString.startsWith(u"Driver=SQLite;"));
    EXPECT_EQ(m_History.Limits.UntilFirstPage.count() + m_History.Limits.ResultBytes, 3 * 1024 * 1024);
    EXPECT_EQ(second.ConnectionString + second.TableName, u"Driver=PostgreSQL;Database=dmine");
}

TEST_F(PlantFileTest, TheExampleIsRightAndComesToLife)
{
    ReadPlantFile(QStringLiteral(VELSQL_DOCS "/example-plant.toml"), m_Plant.World);
    m_Plant.World.Begin();
    const PlantControllerRef works = m_Plant.World.Controller(u"Waterworks"_s);
    for (int scanClass = 0; scanClass < 3; ++scanClass) works->Scan(scanClass, m_Plant.Now());
    for (const PlantItemRef& item : works->Items())
        EXPECT_EQ(item->State(), ItemState::Succeeded) << item->Name().toStdString();
    const PlantControllerRef room = m_Plant.World.Controller(u"Control room"_s);
    EXPECT_EQ(room->State(), static_cast<qint32>(ControllerState::Uninitialized)) << "waits for Start";
    room->Snapshot();
    EXPECT_EQ(room->Item(u"Wanted level"_s)->Value(), Variant(65.0));
    EXPECT_EQ(room->Item(u"Pressure 3"_s)->Value(), works->Item(u"Pressures"_s)->Value().Array().At(3));
}
