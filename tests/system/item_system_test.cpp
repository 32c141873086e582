#include "tests/system/SystemConsole.h"

namespace {

class ItemSystem : public SystemConsole
{
protected:
    QStringList Put(ChildWindow& window, const QString& type, const QString& text)
    {
        Choose(window, "cmbType", type);
        Type(window, "txtValue", text);
        Press(window, "cmdPut");
        return TakeLog();
    }

    const QStringList PutLog = Called(u"Item:put_Value"_s);
};

TEST_F(ItemSystem, ValuesOfEveryKindAreWrittenAndReadBackAndRefusalsLoggedWordForWord)
{
    StartBoth();
    ChildWindow& window = Show(u"VelSQLEngine\\Lab <b>&Test</b>\\Nürnberg\\Anything");
    EXPECT_EQ(window.windowTitle(), u"Controller(Lab <b>&Test</b>\\Nürnberg).Item(Anything)"_s) << "literally";
    const std::array<QString, 3> values[] = {
        {u"BOOL"_s, u"True"_s, u"True (BOOL)"_s},
        {u"R4"_s, u"0.1"_s, u"0.1 (R4)"_s},
        {u"CY"_s, u"12.5"_s, u"12.5 (CY)"_s},
        {u"DATE"_s, u"2024-02-29 06:00:00"_s, u"2024-02-29 06:00:00 (DATE)"_s},
        {u"BSTR"_s, u" a, b & <b> "_s, u" a, b & <b>  (BSTR)"_s},
        {u"ARRAY | R8"_s, u"1,2,3,4,5,6,7,8"_s, u"1,2,3,4,5,6,7,8 (ARRAY | R8)"_s},
        {u"ARRAY | BSTR"_s, u"ab,cd"_s, u"ab,cd (ARRAY | BSTR)"_s},
        {u"NULL"_s, QString(), u"(NULL)"_s},
    };
    for (const auto& [type, text, cell] : values) {
        EXPECT_EQ(Put(window, type, text), PutLog);
        Choose(window, "cmbType", u"(Unknown)"_s);
        Type(window, "txtValue", u"something else"_s);
        Press(window, "cmdGet");
        EXPECT_EQ(TakeLog(), Called(u"Item:get_Value"_s));
        EXPECT_EQ(Control<ListBox>(window, "cmbType").currentText(), type);
        EXPECT_EQ(Control<QLineEdit>(window, "txtValue").text(), text);
        EXPECT_TRUE(WaitForCell(window, u"Value"_s, cell)) << Cell(window, u"Value"_s).toStdString();
    }
    ChildWindow& serial = Show(PLC1 + u"\\Serial number"_s);
    EXPECT_EQ(Put(serial, u"I4"_s, u"12abc"_s), QStringList{u"VT_I4: \"12abc\" is not a number"_s})
        << "before it is announced";
    const QString refusal = u"Item \"Serial number\" of controller \"PLC1\": it is read only and cannot be written."_s;
    EXPECT_EQ(Put(serial, u"I4"_s, u"12"_s), QStringList({PutLog[0], refusal}));
}

} // namespace
