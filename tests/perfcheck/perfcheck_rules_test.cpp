#include "core/ListBox.h"
#include "core/modMain.h"
#include "tests/perfcheck/PerfChkDialog.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QToolButton>

namespace {

class PerfChkRules : public PerfChkDialog
{
protected:
    void Show()
    {
        m_Main->Widget()->show();
        m_Form->show();
        m_Form->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_Form));
    }
};

} // namespace

TEST_F(PerfChkRules, CaptionsAreLiteral)
{
    QStringList captions = {m_Form->windowTitle(), Control<QGroupBox>(u"fraPattern"_s).title(),
                            Control<QGroupBox>(u"fraReadWrite"_s).title(), Control<QLabel>(u"lblValue"_s).text()};
    for (const QString& name : Enabled() + QStringList({u"chkDataCheck"_s, u"cmdStop"_s})) {
        if (const auto* button = m_Form->findChild<QAbstractButton*>(name)) captions << button->text();
    }
    const auto* header = Control<QTreeWidget>(u"lvResult"_s).headerItem();
    for (int column = 0; column < header->columnCount(); ++column) captions << header->text(column);
    EXPECT_EQ(
        captions.join(u'|'),
        u"Performance Check|Check Pattern|Read / Write|Value : |Time(H:M):|No. Times:|Infinite|Read|Write|Write&&Read|"
        "Ignore Error|OutputDebugString value|St&art|&Clear|E&xit|CheckData|St&op|"
        "Action|Time|Time Required (ms)|Value"_s);
    EXPECT_EQ(Control<ListBox>(u"cmbValueType"_s).currentText(), u"BSTR"_s);
}

TEST_F(PerfChkRules, EnablesWhatPatternAndModeNeed)
{
    const QString always = u"optPattern_0 %1optPattern_2 optReadWrite_0 optReadWrite_1 optReadWrite_2 %2chkIgnore "
                           "chkOutput %3cmdClear cmdExit"_s;
    const QString patterns[] = {u"txtHour lblTimeDelimiter txtMinute optPattern_1 "_s,
                                u"optPattern_1 txtPatternCount udPatternCount "_s, u"optPattern_1 "_s};
    const QString value = u"lblValue cmbValueType txtValue "_s;
    const QString modes[] = {QString(), value, value + u"chkDataCheck "_s};
    for (int pattern : {1, 0, 2}) {
        ChoosePattern(pattern);
        for (int mode : {0, 1, 2}) {
            ChooseMode(mode);
            for (const QString& type : {u"BSTR"_s, u"(Unknown)"_s}) {
                ChooseType(type);
                const QString start = mode != 0 && type == u"(Unknown)" ? QString() : u"cmdStart "_s;
                EXPECT_EQ(Enabled(), always.arg(patterns[pattern], modes[mode], start).split(u' '));
            }
        }
    }
}

TEST_F(PerfChkRules, RefusesNumbersOutOfRangeWhenTheFieldIsLeft)
{
    const QString hour = u"Input the integer of 0 to 500 into the hour."_s;
    const QString minute = u"Input the integer of 0 to 59 into the minute."_s;
    const QString count = u"Input the integer of 1 to 65535 into the number of times."_s;
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
                {0, "txtMinute", QString(), QString(), minute},
                {1, "txtPatternCount", u" 007 "_s, u"7"_s, {}},
                {1, "txtPatternCount", u"0"_s, u"0"_s, count},
                {1, "txtPatternCount", u"65535"_s, u"65535"_s, {}},
                {1, "txtPatternCount", u"65536"_s, u"65536"_s, count},
                {1, "txtPatternCount", u"ten"_s, u"ten"_s, count}};
    Show();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name + row.Pasted.toStdString());
        ChoosePattern(row.Pattern);
        QLineEdit& field = Field(row.Name);
        field.setFocus();
        field.setText(row.Pasted);
        QTest::mouseClick(&Button("cmdClear"), Qt::LeftButton);
        const bool refused = !row.Box.isNull();
        EXPECT_EQ(field.text(), row.Left);
        EXPECT_EQ(std::exchange(m_Boxes, {}), refused ? QStringList(row.Box) : QStringList());
        EXPECT_EQ(field.hasFocus(), refused);
        EXPECT_EQ(field.selectedText(), refused ? row.Left : QString());
        field.setText(u"1"_s);
    }
}

TEST_F(PerfChkRules, TakesTypedDigitsOnlyAndCountsWithTheArrows)
{
    Show();
    QLineEdit& field = Field("txtPatternCount");
    field.clear();
    field.setFocus();
    QTest::keyClicks(&field, u"-1a2.e"_s);
    EXPECT_EQ(field.text(), u"12"_s);
    const auto arrows = Control<QWidget>(u"udPatternCount"_s).findChildren<QToolButton*>();
    ASSERT_EQ(arrows.size(), 2);
    const struct
    {
        QString Text;
        int Arrow;
        QString Counted;
    } rows[] = {{u"12"_s, 0, u"13"_s}, {u"12"_s, 1, u"11"_s},       {u"65535"_s, 0, u"65535"_s},
                {u"1"_s, 1, u"1"_s},   {u"99999"_s, 1, u"65534"_s}, {u"abc"_s, 0, u"2"_s}};
    for (const auto& row : rows) {
        field.setText(row.Text);
        arrows[row.Arrow]->click();
        EXPECT_EQ(field.text(), row.Counted);
    }
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(field.text(), u"3"_s);
}
