#include "tests/system/SystemConsole.h"

namespace {

TEST_F(SystemConsole, ValuesOfEveryKindAreWrittenAndReadBackAndRefusalsLoggedWordForWord)
{
    QTemporaryFile plant; // names that must be shown as they are
    ASSERT_TRUE(plant.open());
    plant.write(R"([[controller]]
name = 'Lab <b>&Test</b>\Nürnberg'
item = [ { name = "Anything" }, { name = 'Grenzwert <b>&oben</b>\Süd °C' } ]
[[controller]]
name = "PLC1"
item = [ { name = "Serial number", attribute = "read-only" } ]
)");
    plant.flush();
    m_Server.Start({u"--plant"_s, plant.fileName()});
    StartConsoleWith(QString());
    ASSERT_TRUE(m_Main);
    const QStringList putLog = Called(u"Item:put_Value"_s);
    const auto put = [this](ChildWindow& window, const QString& type, const QString& text) {
        Choose(window, "cmbType", type);
        Type(window, "txtValue", text);
        Press(window, "cmdPut");
        return TakeLog();
    };
    const QString hard = u"Lab <b>&Test</b>\\Nürnberg\\Grenzwert <b>&oben</b>\\Süd °C"_s;
    EXPECT_EQ(Show(u"VelSQLEngine\\"_s + hard).windowTitle(),
              u"Controller(Lab <b>&Test</b>\\Nürnberg).Item(Grenzwert <b>&oben</b>\\Süd °C)");
    ChildWindow& window = Show(u"VelSQLEngine\\Lab <b>&Test</b>\\Nürnberg\\Anything");
    EXPECT_EQ(window.windowTitle(), u"Controller(Lab <b>&Test</b>\\Nürnberg).Item(Anything)"_s) << "literally";
    const std::pair<QString, QString> values[] = {
        {u"R4"_s, u"0.1"_s},
        {u"BSTR"_s, u" a, b & <b> "_s},
        {u"DATE"_s, u"2024-02-29 06:00:00"_s},
        {u"ARRAY | BSTR"_s, u"ab,cd"_s},
        {u"NULL"_s, QString()},
    };
    for (const auto& [type, text] : values) {
        EXPECT_EQ(put(window, type, text), putLog);
        Choose(window, "cmbType", u"(Unknown)"_s);
        Type(window, "txtValue", u"something else"_s);
        Press(window, "cmdGet");
        EXPECT_EQ(TakeLog(), Called(u"Item:get_Value"_s));
        EXPECT_EQ(Control<ListBox>(window, "cmbType").currentText(), type);
        EXPECT_EQ(Control<QLineEdit>(window, "txtValue").text(), text);
        const QString cell = text.isNull() ? u"(NULL)"_s : u"%1 (%2)"_s.arg(text, type);
        EXPECT_TRUE(WaitForCell(window, u"Value"_s, cell)) << Cell(window, u"Value"_s).toStdString();
    }
    ChildWindow& serial = Show(PLC1 + u"\\Serial number"_s);
    EXPECT_EQ(put(serial, u"I4"_s, u"12abc"_s), QStringList{u"VT_I4: \"12abc\" is not a number"_s})
        << "before it is announced";
    const QString refusal = u"Item \"Serial number\" of controller \"PLC1\": it is read only and cannot be written."_s;
    EXPECT_EQ(put(serial, u"I4"_s, u"12"_s), QStringList({putLog[0], refusal}));
}

} // namespace
