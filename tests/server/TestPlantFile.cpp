#include "server/protocols/Protocols.h"
#include "server/sources/replay/ReplayFile.h"
#include "tests/server/PlantFileTest.h"

TEST_F(PlantFileTest, EveryMistakeIsSaidOnceWithItsLine)
{
    const std::pair<const char*, QString> lines[] = {
        {R"(colour = "red")", u"colour is not known here"_s},
        {R"([history])", {}},
        {R"(enabled = "yes")", u"enabled: true or false must stand here"_s},
        {R"([[history.destination]])", {}},
        {R"(connection = "Driver=Oracle;Database=x")",
         u"connection: The connection string names an unknown driver: the drivers are SQLite and PostgreSQL."_s},
        {R"(keep = "some years")", u"keep: \"some years\" is not a length of time such as 10 min"_s},
        {R"(max_size = "5 MB")", u"max_size: \"5 MB\" is not a size such as 20 GB (100 MB or more; 0: any)"_s},
        {R"([[controller]])", {}},
        {R"(name = "A")", {}},
        {R"(scan_times = [100, 1000])",
         u"scan_times: three whole numbers must stand here, milliseconds from 0 to 86400000"_s},
        {R"(item = [)", {}},
        {R"({ name = "x", type = "I5", links = ["B\\y"] },)",
         u"type: \"I5\" is not a type such as I4 or ARRAY|BSTR\nlinks: the item \"B\\y\" does not exist"_s},
        {R"({ name = "x", attribute = "readonly" },)",
         u"attribute: \"readonly\" is none of read-write, read-only, write-only\nname: item \"x\" exists already"_s},
        {R"({ type = "I2", value = 70000 },)", u"name is missing\nvalue: 70000 is out of the range of VT_I2"_s},
        {R"({ name = "b", type = "BOOL", signal = { form = "sine", period = 0, amplitude = 3 } },)",
         u"period: it must be more than 0\namplitude is not known here"_s},
        {R"({ name = "r", type = "I4", signal = { form = "replay", file = "r.csv" } },)",
         u"file: r.csv cannot be read: No such file or directory"_s},
        {R"({ name = "p", kind = "alias", links = ["q"] },)",
         u"links: its links go in a circle or over more than 16 items"_s},
        {R"({ name = "q", links = ["p"], scan = true },)", u"scan: a whole number must stand here"_s},
        {R"({ name = "c", type = "I6", value = 0000-01-01, signal = { form = "sine", elements = 4 } },)",
         u"type: \"I6\" is not a type such as I4 or ARRAY|BSTR\n"
         "\"0000-01-01\" is not a date such as 2024-01-31 12:00:00"_s},
        {R"({ name = "d", type = "ARRAY|I2", signal = { form = "clock" } },)", u"form: the time never fits VT_I2"_s},
        {R"({ name = "e", signal = { form = "counter", first = 5, last = 1 } },)", u"last: it is below first"_s},
        {R"({ name = "g", type = "ARRAY|R8", signal = { form = "random", low = "x", high = -1 } },)",
         u"low: a number must stand here"_s},
        {R"({ name = "h", history = true, record = { change = -1, at_least = "10", silence = 5 } },)",
         u"change: it must not be negative\nat_least: \"10\" is not a length of time such as 10 min\n"
         "silence is not known here"_s},
        {R"({ name = "i", record = { change = 1 } },)", u"record: nothing is recorded without history = true"_s},
        {R"({ name = "j", signal = { form = "constant" } } ])", u"value is missing"_s},
        {R"([[controller]])", {}},
        {R"(name = "A")", u"name: controller \"A\" exists already"_s},
        {R"(item = [ { name = "own", links = ["own too"] },)", {}},
        {R"({ name = "own too", type = 7 } ])", u"type: a text must stand here"_s},
    };
    QByteArray text;
    QStringList expected;
    for (const auto& [line, mistakes] : lines) {
        text += line + "\n"_ba;
        for (const QString& mistake : mistakes.split(u'\n', Qt::SkipEmptyParts))
            expected << u"plant.toml:%1: "_s.arg(text.count('\n')) + mistake;
    }
    EXPECT_EQ(MistakesIn(text).split(u'\n'), expected);
    EXPECT_TRUE(MistakesIn("a = 1\n[b\n").startsWith(u"plant.toml:2: ")) << "not TOML";
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
    ReplaySignal once(rows, false), again(rows, true);
    const std::tuple<double, int, int> cases[] = {{0.0, 1, 1}, {0.499, 1, 1}, {0.51, 2, 2},
                                                  {1.9, 2, 2}, {3.4, 3, 3},   {3.6, 3, 1}};
    for (const auto& [seconds, stays, repeats] : cases) {
        EXPECT_EQ(once.Next(seconds, VT_I4), Variant(stays)) << seconds;
        EXPECT_EQ(again.Next(seconds, VT_I4), Variant(repeats)) << seconds;
    }
    WriteFile(path, "1,1\n2,x\n");
    EXPECT_TRUE(OutcomeOf([&] { ReadReplayFile(path, VT_I4); }).endsWith(u"r.csv:2: VT_I4: \"x\" is not a number"));
}

TEST_F(PlantFileTest, DevicesAreReadBeforeTheItemsThatAreBoundToTheirVariables)
{
    WriteFile(m_Folder.filePath(u"r.csv"_s), "1,7\n");
    const QByteArray devices = R"([[controller]]
name = "C"
device = "Recorder"
item = [ { name = "I", type = "I4", variable = "value", option = "once" } ]
[[device]]
name = "Recorder"
protocol = "replay"
file = "r.csv"
)";
    ASSERT_EQ(MistakesIn(devices), u"done");
    PlantController& controller = *m_Plant.Controller(u"C"_s);
    controller.Start();
    ReadAll(controller, 0);
    EXPECT_EQ(controller.Item(u"I"_s)->Value(), Variant(7));
    QStringList names;
    for (const Protocol& protocol : Protocols()) names << protocol.Name;
    EXPECT_EQ(MistakesIn(R"([[device]]
name = "Recorder"
protocol = "morse"
[[device]]
name = "R2"
protocol = "replay"
speed = 1
[[controller]]
name = "D"
device = "R3"
item = [ { name = "I", variable = "value" } ]
[[controller]]
name = "E"
item = [ { name = "I", variable = "v" }, { name = "J", option = "o" },
         { name = "K", variable = "v", signal = { form = "clock" } } ]
)"),
              u"plant.toml:2: name: device \"Recorder\" exists already\n"
              "plant.toml:3: protocol: \"morse\" is none of %1\n"
              "plant.toml:4: file is missing\nplant.toml:7: speed is not known here\n"
              "plant.toml:10: device: there is no device \"R3\"\n"
              "plant.toml:14: variable: the controller has no device\n"
              "plant.toml:14: option: it belongs to a variable\n"
              "plant.toml:15: variable: the controller has no device\n"
              "plant.toml:15: signal: an item with a variable takes its values from there"_s.arg(names.join(u", "_s)));
}

TEST_F(PlantFileTest, TimesAreLocalAndHistoryDestinationsAreRead)
{
    qputenv("TZ", "CET-1CEST");
    const std::pair<const char*, QString> cases[] = {{"07:30:00.25", u"7,1899-12-30 07:30:00.250"_s},
                                                     {"2024-01-31", u"7,2024-01-31 00:00:00"_s},
                                                     {"2024-07-31T12:00:00.125", u"7,2024-07-31 12:00:00.125"_s},
                                                     {"2024-07-31T12:00:00Z", u"7,2024-07-31 14:00:00"_s},
                                                     {"2024-01-31 23:30:00-05:00", u"7,2024-02-01 05:30:00"_s}};
    QByteArray text = R"([history]
enabled = false
statement_timeout = 0
result_megabytes = 3
destination = [ { max_record = 5, keep = "2 days", max_size = "1.5 TB" }, { connection = "Driver=PostgreSQL;Database=d", table = "mine" } ]
[[controller]]
name = "C"
)";
    for (const auto& [time, value] : cases)
        text += "[[controller.item]]\nname = 'i"_ba + time + "'\nvalue = " + time + '\n';
    EXPECT_EQ(MistakesIn(text), u"done");
    for (const auto& [time, value] : cases)
        EXPECT_EQ(WriteTypedText(m_Plant.Controller(u"C"_s)->Item(u'i' + QString::fromUtf8(time))->Value()), value);
    qunsetenv("TZ");
    const auto& [first, second] = m_History.Destinations;
    EXPECT_TRUE(!m_History.Enabled && first.MaxRecord == 5 && first.ConnectionString.startsWith(u"Driver=SQLite;"));
    EXPECT_EQ(m_History.Limits.UntilFirstPage.count() + m_History.Limits.ResultBytes, 3 * 1024 * 1024);
    EXPECT_TRUE(first.Keep == std::chrono::hours(48) && first.MaxBytes == 1'500'000'000'000 && !second.MaxBytes);
    EXPECT_EQ(second.ConnectionString + second.TableName, u"Driver=PostgreSQL;Database=dmine");
}

TEST_F(PlantFileTest, TheExampleIsRightAndRuns)
{
    ReadPlantFile(QStringLiteral(VELSQL_DOCS "/example-plant.toml"), m_Plant);
    m_Plant.Begin();
    const PlantControllerRef works = m_Plant.Controller(u"Waterworks"_s);
    for (int scanClass = 0; scanClass < 3; ++scanClass) ReadAll(*works, scanClass);
    for (const PlantItemRef& item : works->Items())
        EXPECT_EQ(item->State(), ItemState::Succeeded) << item->Name().toStdString();
    const PlantControllerRef room = m_Plant.Controller(u"Control room"_s);
    EXPECT_EQ(room->State(), static_cast<qint32>(ControllerState::Uninitialized)) << "waits for Start";
    ReadAll(*room);
    EXPECT_EQ(room->Item(u"Wanted level"_s)->Value(), Variant(65.0));
    const PlantControllerRef wells = m_Plant.Controller(u"Wells"_s);
    ReadAll(*wells);
    for (const PlantItemRef& item : wells->Items())
        EXPECT_EQ(item->State(), ItemState::Succeeded) << item->Name().toStdString();
    EXPECT_EQ(wells->Items().size(), 12 + 12 + 9) << "numbered items and tags";
    EXPECT_EQ(room->Item(u"Pressure 3"_s)->Value(), works->Item(u"Pressures"_s)->Value().Array().At(3));
}
