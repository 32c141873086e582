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
    EXPECT_EQ(MistakesIn(R"([[controller]]
name = "D"
active = 1
scan_times = "often"
  [[controller.item]]
  name = 5
  links = ["x"]
  [[controller.item]]
  [[controller.item]]
  name = "x"
  kind = "alias"
  links = ["y"]
  [[controller.item]]
  name = "y"
  links = ["x"]
  scan = true
  [[controller.item]]
  name = "z"
  kind = "alias"
  links = "y"
  [[controller.item]]
  name = "c"
  type = "I6"
  value = 0000-01-01
  signal = { form = "sine", elements = 4 }
  [[controller.item]]
  name = "d"
  type = "ARRAY|I2"
  signal = { form = "clock" }
  [[controller.item]]
  name = "e"
  signal = { form = "counter", first = 5, last = 1 }
  [[controller.item]]
  name = "f"
  type = "UI1"
  signal = { form = "ramp", low = 300, high = 400 }
  [[controller.item]]
  name = "g"
  type = "ARRAY|R8"
  signal = { form = "random", low = "x", high = -1 }
  [[controller.item]]
  name = "h"
  signal = { form = "sinus", low = 1 }
  [[controller.item]]
  name = "i"
  signal = { form = "replay" }
  [[controller.item]]
  name = "j"
  signal = { form = "constant" }
[[controller]]
name = "D"
  [[controller.item]]
  name = "own"
  links = ["own too"]
  [[controller.item]]
  name = "own too"
  type = 7
)"),
              u"plant.toml:3: active: true or false must stand here\n"
              "plant.toml:4: scan_times: three whole numbers must stand here, milliseconds from 0 to 86400000\n"
              "plant.toml:6: name: a text must stand here\n"
              "plant.toml:8: name is missing\n"
              "plant.toml:12: links: its links go in a circle or over more than 16 items\n"
              "plant.toml:16: scan: a whole number must stand here\n"
              "plant.toml:20: links: a list must stand here\n"
              "plant.toml:23: type: \"I6\" is no type such as I4 or ARRAY|BSTR\n"
              "plant.toml:24: \"0000-01-01\" is not a date such as 2024-01-31 12:00:00\n"
              "plant.toml:29: form: the time never fits VT_I2\n"
              "plant.toml:32: last: it is below first\n"
              "plant.toml:36: form: its values never fit VT_UI1\n"
              "plant.toml:40: low: a number must stand here\n"
              "plant.toml:43: form: \"sinus\" is none of constant, counter, ramp, sine, square, random, replay, clock\n"
              "plant.toml:46: file is missing\n"
              "plant.toml:49: value is missing\n"
              "plant.toml:51: name: controller \"D\" exists already\n"
              "plant.toml:57: type: a text must stand here")
        << "each of them once";
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
                                                  {1.9, 2, 2}, {3.4, 3, 3},   {3.6, 3, 1}};
    for (const auto& [seconds, stays, repeats] : cases) {
        EXPECT_EQ(once.Next(seconds, VT_I4), Variant(stays)) << seconds;
        EXPECT_EQ(again.Next(seconds, VT_I4), Variant(repeats)) << seconds;
    }
    WriteFile(path, "1,1\n2,x\n");
    EXPECT_TRUE(OutcomeOf([&] { ReadReplayFile(path, VT_I4); }).endsWith(u"r.csv:2: VT_I4: \"x\" is not a number"));
}

TEST_F(PlantFileTest, TimesAreReadAsLocalOnes)
{
    qputenv("TZ", "CET-1CEST");
    const std::pair<const char*, QString> cases[] = {{"07:30:00.25", u"7,1899-12-30 07:30:00.250"_s},
                                                     {"2024-01-31", u"7,2024-01-31 00:00:00"_s},
                                                     {"2024-07-31T12:00:00.125", u"7,2024-07-31 12:00:00.125"_s},
                                                     {"2024-07-31T12:00:00Z", u"7,2024-07-31 14:00:00"_s},
                                                     {"2024-01-31 23:30:00-05:00", u"7,2024-02-01 05:30:00"_s}};
    QByteArray text = "[[controller]]\nname = \"C\"\n";
    for (const auto& [time, value] : cases)
        text += "[[controller.item]]\nname = 'i"_ba + time + "'\nvalue = " + time + '\n';
    EXPECT_EQ(MistakesIn(text), u"done");
    for (const auto& [time, value] : cases)
        EXPECT_EQ(WriteTypedText(m_Plant.World.Controller(u"C"_s)->Item(u'i' + QString::fromUtf8(time))->Value()),
                  value);
    qunsetenv("TZ");
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
