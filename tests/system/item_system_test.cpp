#include "tests/system/SystemConsole.h"

#include <QElapsedTimer>

namespace {

const QStringList GetLog = {u"Calling Item:get_Value..."_s, u"Succeeded."_s};
const QStringList PutLog = {u"Calling Item:put_Value..."_s, u"Succeeded."_s};
/// Bytes that are no picture are shown as bytes all the same.
const QStringList NoPicture = {u"The value cannot be shown as a picture: Unsupported image format"_s};
const QString Lost = u"The connection to the server was lost; the call may still have taken effect."_s;

TEST_F(SystemConsole, EveryTypeIsWrittenAndReadBack)
{
    StartBoth();
    frmItem& window = ShowItem(u"VelSQLEngine\\Lab <b>&Test</b>\\Nürnberg\\Anything");
    auto& type = Control<ListBox>(window, "cmbType");
    auto& text = Control<QLineEdit>(window, "txtValue");
    const QList<std::array<QString, 3>> cases = {
        {u"EMPTY"_s, QString(), QString()},
        {u"NULL"_s, QString(), u"(NULL)"_s},
        {u"BOOL"_s, u"True"_s, QString()},
        {u"UI1"_s, u"255"_s, QString()},
        {u"I2"_s, u"-32768"_s, QString()},
        {u"I4"_s, u"2147483647"_s, QString()},
        {u"R4"_s, u"0.1"_s, u"0.1 (R4)"_s},
        {u"R8"_s, u"-1.25"_s, QString()},
        {u"CY"_s, u"12.5"_s, QString()},
        {u"DATE"_s, u"2024-02-29 06:00:00"_s, QString()},
        {u"BSTR"_s, u" a, b & <b> "_s, u" a, b & <b>  (BSTR)"_s},
        {u"ARRAY | BOOL"_s, u"True,False"_s, QString()},
        {u"ARRAY | UI1"_s, u"1,2,3"_s, QString()},
        {u"ARRAY | I2"_s, u"1,-2"_s, QString()},
        {u"ARRAY | I4"_s, u"70000"_s, QString()},
        {u"ARRAY | R4"_s, u"0.5,1.5"_s, QString()},
        {u"ARRAY | R8"_s, u"1,2,3,4,5,6,7,8"_s, u"1,2,3,4,5,6,7,8 (ARRAY | R8)"_s},
        {u"ARRAY | CY"_s, u"1.5,-2"_s, QString()},
        {u"ARRAY | DATE"_s, u"2024-03-01 00:00:00"_s, QString()},
        {u"ARRAY | BSTR"_s, u"ab,cd"_s, QString()},
    };
    for (const auto& [caption, valueText, cell] : cases) {
        SCOPED_TRACE(caption.toStdString());
        Choose(type, caption);
        text.setText(valueText);
        Press(window, "cmdPut");
        EXPECT_EQ(TakeLog(), PutLog);
        Choose(type, u"(Unknown)"_s);
        text.setText(u"something else"_s);
        Press(window, "cmdGet");
        EXPECT_EQ(TakeLog(), caption == u"ARRAY | UI1" ? GetLog + NoPicture : GetLog);
        EXPECT_EQ(type.currentText(), caption);
        EXPECT_EQ(text.text(), valueText);
        if (!cell.isEmpty()) { // the grid takes its time: half a second
            EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(window, u"Value"_s) == cell; }, 3000)) << cell.toStdString();
        }
    }
}

TEST_F(SystemConsole, RefusalsAreLoggedAndNothingIsLost)
{
    StartBoth();
    frmItem& window = ShowItem(u"VelSQLEngine\\PLC1\\D100");
    Choose(Control<ListBox>(window, "cmbType"), u"I4"_s);
    auto& text = Control<QLineEdit>(window, "txtValue");
    text.setText(u"12abc"_s);
    Press(window, "cmdPut");
    const QStringList refused = TakeLog();
    ASSERT_EQ(refused.size(), 1) << "refused before anything was announced";
    EXPECT_TRUE(refused[0].contains(u"12abc") && refused[0].contains(u"VT_I4")) << refused[0].toStdString();
    EXPECT_EQ(text.text(), u"12abc");
    EXPECT_EQ(Cell(window, u"Value"_s), u"25 (I4)");

    frmItem& readOnly = ShowItem(u"VelSQLEngine\\PLC1\\Serial number");
    Choose(Control<ListBox>(readOnly, "cmbType"), u"BSTR"_s);
    Press(readOnly, "cmdPut");
    const QStringList denied = TakeLog();
    ASSERT_EQ(denied.size(), 2);
    EXPECT_EQ(denied[0], PutLog[0]);
    EXPECT_NE(denied[1], PutLog[1]);
    EXPECT_EQ(Cell(ShowItem(u"VelSQLEngine\\PLC1\\Reset"), u"Value"_s), u"n/a") << "write only";
}

TEST_F(SystemConsole, ATextOfOneMegabyteGoesThereAndBack)
{
    StartBoth();
    frmItem& window = ShowItem(u"VelSQLEngine\\PLC1\\Recipe");
    auto& text = Control<QLineEdit>(window, "txtValue");
    text.setMaxLength(2'000'000);
    const QString big(1'000'000, u'ü');
    Choose(Control<ListBox>(window, "cmbType"), u"BSTR"_s);
    text.setText(big);
    Press(window, "cmdPut");
    text.clear();
    Press(window, "cmdGet");
    EXPECT_EQ(TakeLog(), PutLog + GetLog);
    EXPECT_TRUE(text.text() == big);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(window, u"Value"_s).size() == big.size() + 7; }, 3000));
}

TEST_F(SystemConsole, AKilledServerIsReportedAndANewOneServesTheSameWindow)
{
    StartBoth();
    frmItem& window = ShowItem(u"VelSQLEngine\\PLC1\\D100");
    m_Server.Kill();
    Press(window, "cmdGet");
    Press(window, "cmdSnapshot");
    const QStringList log = TakeLog();
    ASSERT_EQ(log.size(), 4);
    EXPECT_EQ(log[0], GetLog[0]);
    EXPECT_EQ(log[1], Lost);
    EXPECT_EQ(log[2], u"Calling Controller:Snapshot...");
    EXPECT_EQ(log[3], u"The server is not running.");
    EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(window, u"Value"_s) == u"(EMPTY)"; }, 3000));
    EXPECT_EQ(Cell(window, u"Name"_s), QString());
    EXPECT_EQ(TakeLog(), QStringList()) << "a refresh never logs";

    m_Server.Start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Cell(window, u"Value"_s) == u"25 (I4)"; }, 5000))
        << "found again by the refresh";
    Press(window, "cmdGet");
    EXPECT_EQ(TakeLog(), GetLog);
}

TEST_F(SystemConsole, AStoppedServerEndsACallAndIsUsedAgainWhenItGoesOn)
{
    StartBoth();
    frmItem& window = ShowItem(u"VelSQLEngine\\PLC1\\D100");
    Press(window, "cmdHide"); // no refresh: the first call to meet the stopped server is the operator's
    m_Server.Suspend();
    QElapsedTimer time;
    time.start();
    Press(window, "cmdGet");
    EXPECT_LT(time.restart(), 10'000);
    for (int i = 0; i < 49; ++i) Press(window, "cmdGet");
    EXPECT_LT(time.elapsed(), 2'000) << "the following ones fail at once";
    QStringList expected = {GetLog[0],
                            u"The server does not answer; the call was given up and may still take effect."_s};
    for (int i = 0; i < 49; ++i) expected << GetLog[0] << u"The server does not answer."_s;
    EXPECT_EQ(TakeLog(), expected);

    m_Server.Resume();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            Press(window, "cmdGet");
            return TakeLog() == GetLog;
        },
        5000));
}

} // namespace
