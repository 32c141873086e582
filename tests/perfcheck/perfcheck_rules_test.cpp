#include "tests/perfcheck/PerfChkDialog.h"

#include <QToolButton>

namespace {

class PerfChkRules : public PerfChkDialog
{
protected:
    PerfChkRules()
    {
        m_Main.Widget()->show();
        m_Form->show();
        m_Form->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_Form));
    }
};

} // namespace

TEST_F(PerfChkRules, EnablesWhatPatternAndModeNeed)
{
    const QString always = u"optPattern_0 %1optPattern_2 optReadWrite_0 optReadWrite_1 optReadWrite_2 %2chkIgnore "
                           "chkOutput %3cmdClear cmdExit"_s;
    const QString patterns[] = {u"txtHour lblTimeDelimiter txtMinute optPattern_1 "_s,
                                u"optPattern_1 txtPatternCount udPatternCount "_s, u"optPattern_1 "_s};
    const QString value = u"lblValue cmbValueType txtValue "_s;
    const QString modes[] = {{}, value, value + u"chkDataCheck "_s};
    EXPECT_EQ(List("cmbValueType").currentText(), u"BSTR"_s);
    for (int pattern : {1, 0, 2}) {
        ChoosePattern(pattern);
        for (int mode : {0, 1, 2}) {
            ChooseMode(mode);
            for (const QString& type : {u"BSTR"_s, u"(Unknown)"_s}) {
                Choose("cmbValueType", type);
                const QString start = mode != 0 && type == u"(Unknown)" ? QString() : u"cmdStart "_s;
                EXPECT_EQ(Enabled(), always.arg(patterns[pattern], modes[mode], start));
            }
        }
    }
}

TEST_F(PerfChkRules, RefusesNumbersOutOfRangeWhenTheFieldIsLeft)
{
    const QString hour = u"2 Input the integer of 0 to 500 into the hour."_s;
    const QString minute = u"2 Input the integer of 0 to 59 into the minute."_s;
    const QString count = u"2 Input the integer of 1 to 65535 into the number of times."_s;
    const struct
    {
        int Pattern;
        const char* Name;
        QString Pasted, Left, Box;
    } rows[] = {{0, "txtHour", u"500"_s, u"500"_s, {}},
                {0, "txtHour", u"501"_s, u"501"_s, hour},
                {0, "txtHour", u"-1"_s, u"-1"_s, hour},
                {0, "txtHour", u"3000000000"_s, u"3000000000"_s, hour},
                {0, "txtMinute", u"2.5"_s, u"2"_s, {}},
                {0, "txtMinute", u"60"_s, u"60"_s, minute},
                {0, "txtMinute", {}, {}, minute},
                {1, "txtPatternCount", u" 007 "_s, u"7"_s, {}},
                {1, "txtPatternCount", u"0"_s, u"0"_s, count},
                {1, "txtPatternCount", u"65535"_s, u"65535"_s, {}},
                {1, "txtPatternCount", u"65536"_s, u"65536"_s, count},
                {1, "txtPatternCount", u"ten"_s, u"ten"_s, count}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name + row.Pasted.toStdString());
        ChoosePattern(row.Pattern);
        QLineEdit& field = Box(row.Name);
        field.setFocus();
        field.setText(row.Pasted);
        QTest::mouseClick(&Control<QPushButton>("cmdClear"), Qt::LeftButton);
        const bool refused = !row.Box.isNull();
        EXPECT_EQ(field.text(), row.Left);
        EXPECT_EQ(TakeBoxes(), refused ? QStringList(row.Box) : QStringList());
        EXPECT_EQ(field.hasFocus(), refused);
        EXPECT_EQ(field.selectedText(), refused ? row.Left : QString());
        field.setText(u"1"_s);
    }
}

TEST_F(PerfChkRules, TakesTypedDigitsOnlyAndCountsWithTheArrows)
{
    QLineEdit& field = Box("txtPatternCount");
    field.clear();
    field.setFocus();
    QTest::keyClicks(&field, u"-1a2.e"_s);
    EXPECT_EQ(field.text(), u"12"_s);
    const auto arrows = Control<QWidget>("udPatternCount").findChildren<QToolButton*>();
    const struct
    {
        QString Text;
        int Arrow;
        QString Counted;
    } rows[] = {{u"12"_s, 0, u"13"_s}, {u"12"_s, 1, u"11"_s},       {u"65535"_s, 0, u"65535"_s},
                {u"1"_s, 1, u"1"_s},   {u"99999"_s, 1, u"65534"_s}, {u"abc"_s, 0, u"2"_s}};
    for (const auto& row : rows) {
        field.setText(row.Text);
        arrows.at(row.Arrow)->click();
        EXPECT_EQ(field.text(), row.Counted);
    }
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(field.text(), u"3"_s);
}
