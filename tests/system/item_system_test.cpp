#include "tests/system/SystemConsole.h"

namespace {

class ItemSystem : public SystemConsole
{
protected:
    void Open(QStringView key)
    {
        StartBoth();
        m_Window = &Show(key);
    }
    QStringList Get()
    {
        Press(*m_Window, "cmdGet");
        return TakeLog();
    }
    QStringList Put(const QString& type, const QString& text)
    {
        Choose(*m_Window, "cmbType", type);
        Type(*m_Window, "txtValue", text);
        Press(*m_Window, "cmdPut");
        return TakeLog();
    }

    const QStringList GetLog = Called(u"Item:get_Value"_s);
    const QStringList PutLog = Called(u"Item:put_Value"_s);
    ChildWindow* m_Window = nullptr;
};

TEST_F(ItemSystem, ValuesOfEveryKindAreWrittenAndReadBack)
{
    Open(u"VelSQLEngine\\Lab <b>&Test</b>\\Nürnberg\\Anything");
    EXPECT_EQ(m_Window->windowTitle(), u"Controller(Lab <b>&Test</b>\\Nürnberg).Item(Anything)"_s) << "literally";
    const struct
    {
        QString Type, Text, Cell;
    } values[] = {
        {u"BOOL"_s, u"True"_s, u"True (BOOL)"_s},
        {u"R4"_s, u"0.1"_s, u"0.1 (R4)"_s},
        {u"CY"_s, u"12.5"_s, u"12.5 (CY)"_s},
        {u"DATE"_s, u"2024-02-29 06:00:00"_s, u"2024-02-29 06:00:00 (DATE)"_s},
        {u"BSTR"_s, u" a, b & <b> "_s, u" a, b & <b>  (BSTR)"_s},
        {u"ARRAY | R8"_s, u"1,2,3,4,5,6,7,8"_s, u"1,2,3,4,5,6,7,8 (ARRAY | R8)"_s},
        {u"ARRAY | BSTR"_s, u"ab,cd"_s, u"ab,cd (ARRAY | BSTR)"_s},
        {u"NULL"_s, QString(), u"(NULL)"_s},
    };
    for (const auto& value : values) {
        SCOPED_TRACE(value.Type.toStdString());
        EXPECT_EQ(Put(value.Type, value.Text), PutLog);
        Choose(*m_Window, "cmbType", u"(Unknown)"_s);
        Type(*m_Window, "txtValue", u"something else"_s);
        EXPECT_EQ(Get(), GetLog);
        EXPECT_EQ(Control<ListBox>(*m_Window, "cmbType").currentText(), value.Type);
        EXPECT_EQ(Control<QLineEdit>(*m_Window, "txtValue").text(), value.Text);
        EXPECT_TRUE(WaitForCell(*m_Window, u"Value"_s, value.Cell)) << Cell(*m_Window, u"Value"_s).toStdString();
    }
}

TEST_F(ItemSystem, RefusalsOfConverterAndServerAreLoggedWordForWord)
{
    Open(PLC1 + u"\\Serial number"_s);
    EXPECT_EQ(Put(u"I4"_s, u"12abc"_s), QStringList{u"VT_I4: \"12abc\" is not a number"_s}) << "before it is announced";
    EXPECT_EQ(Control<QLineEdit>(*m_Window, "txtValue").text(), u"12abc");
    const QString refusal = u"Item \"Serial number\" of controller \"PLC1\": it is read only and cannot be written."_s;
    EXPECT_EQ(Put(u"I4"_s, u"12"_s), QStringList({PutLog[0], refusal}));
}

TEST_F(ItemSystem, AKilledServerIsReportedAndANewOneServesTheSameWindow)
{
    Open(D100);
    m_Server.Kill();
    EXPECT_EQ(Get(), QStringList({GetLog[0], Lost}));
    Press(*m_Window, "cmdSnapshot");
    EXPECT_EQ(TakeLog(), QStringList({u"Calling Controller:Snapshot..."_s, u"The server is not running."_s}));
    EXPECT_TRUE(WaitForCell(*m_Window, u"Value"_s, u"(EMPTY)"_s));
    EXPECT_EQ(Cell(*m_Window, u"Name"_s), QString());

    m_Server.Start();
    EXPECT_TRUE(WaitForCell(*m_Window, u"Value"_s, u"25 (I4)"_s)) << "found again by the refresh";
    EXPECT_EQ(TakeLog(), QStringList()) << "a refresh never logs";
    EXPECT_EQ(Get(), GetLog);
}

TEST_F(ItemSystem, AStoppedServerEndsACallAndIsUsedAgainWhenItGoesOn)
{
    Open(D100);
    Press(*m_Window, "cmdHide"); // no refresh: the first call to meet the stopped server is the operator's
    m_Server.Suspend();
    EXPECT_EQ(Get(), QStringList({GetLog[0], GivenUp}));
    EXPECT_EQ(Get(), QStringList({GetLog[0], u"The server does not answer."_s}));
    m_Server.Resume();
    EXPECT_TRUE(WaitUntilItAnswers());
    EXPECT_EQ(Get(), GetLog);
}

} // namespace
