#include "core/modAPI.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/support/WindowTest.h"

#include <QToolButton>

namespace {

const QString Start = u"START|03/07 14:05:09.042| | "_s;
const QString Failed = u"ERROR OCCURED!|||"_s; // spelled so: meant
const QString Put = u"put_Value(3,7)"_s;
const QString Get = u"get_Value()"_s;

QString End(const QString& milliseconds, const QString& value = u" "_s)
{
    return u"END|03/07 14:05:09.042|%1|%2"_s.arg(milliseconds, value);
}

/// The dialog on item D100 of PLC1; ticks, time, priority and debug strings are the test's own.
class PerfChkDialog : public WindowTest<frmPerfChk>, private modAPI::Platform
{
protected:
    PerfChkDialog()
    {
        modAPI::Replace(this);
        m_Form = new frmPerfChk(m_Main.Widget());
        m_Form->m_csItem = modMain::Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
        WindowTest::TakeCalls();
    }
    ~PerfChkDialog() override
    {
        delete m_Form.data();
        modAPI::Replace(nullptr);
    }

    void ChoosePattern(int index) { Control<QAbstractButton>(u"optPattern_%1"_s.arg(index)).setChecked(true); }
    void ChooseMode(int index) { Control<QAbstractButton>(u"optReadWrite_%1"_s.arg(index)).setChecked(true); }
    /// Presses "Start" and returns when the run is over.
    void Run() { Press("cmdStart"); }

    /// The names of all controls that the operator can use now.
    QString Enabled()
    {
        QStringList names =
            u"optPattern_0 txtHour lblTimeDelimiter txtMinute optPattern_1 txtPatternCount udPatternCount "
            "optPattern_2 optReadWrite_0 optReadWrite_1 optReadWrite_2 lblValue cmbValueType txtValue "
            "chkDataCheck chkIgnore chkOutput cmdStart cmdStop cmdClear cmdExit"_s.split(u' ');
        names.removeIf([this](const QString& name) { return !Control<QWidget>(name).isEnabled(); });
        return names.join(u' ');
    }
    void ChooseSeven(int mode, int count)
    {
        ChooseMode(mode);
        Choose("cmbValueType", u"I4"_s);
        Type("txtValue", u"7"_s);
        Type("txtPatternCount", QString::number(count));
    }
    /// The result list, cells separated by "|"; it is cleared.
    QStringList TakeRows()
    {
        const auto& list = Control<QTreeWidget>("lvResult");
        QStringList rows;
        for (int i = 0; i < list.topLevelItemCount(); ++i) {
            const QTreeWidgetItem& row = *list.topLevelItem(i);
            rows << QStringList({row.text(0), row.text(1), row.text(2), row.text(3)}).join(u'|');
        }
        Press("cmdClear");
        return rows;
    }
    /// Without the item's name: "get_Value()".
    QStringList TakeCalls() { return WindowTest::TakeCalls().replaceInStrings(u"Item(D100)."_s, QString()); }

    /// What the tick counter says, one reading after the other; then it stands still.
    QList<quint32> m_Ticks = {1000};
    QList<quint32> m_Priorities;
    QStringList m_DebugStrings;

private:
    quint32 GetTickCount() override { return m_Ticks.size() > 1 ? m_Ticks.takeFirst() : m_Ticks.constFirst(); }
    QDateTime GetLocalTime() override { return QDateTime({2024, 3, 7}, {14, 5, 9, 42}); }
    void SetPriorityClass(quint32 priorityClass) override { m_Priorities << priorityClass; }
    void OutputDebugString(const QString& text) override { m_DebugStrings << text; }
};

} // namespace

TEST_F(PerfChkDialog, EnablesWhatPatternAndModeNeed)
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

TEST_F(PerfChkDialog, RefusesNumbersOutOfRangeWhenTheFieldIsLeft)
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
                {0, "txtHour", u"3000000000"_s, u"3000000000"_s, hour},
                {0, "txtMinute", u"2.5"_s, u"2"_s, {}},
                {0, "txtMinute", u"60"_s, u"60"_s, minute},
                {0, "txtMinute", {}, {}, minute},
                {1, "txtPatternCount", u" 007 "_s, u"7"_s, {}},
                {1, "txtPatternCount", u"0"_s, u"0"_s, count},
                {1, "txtPatternCount", u"65535"_s, u"65535"_s, {}},
                {1, "txtPatternCount", u"65536"_s, u"65536"_s, count},
                {1, "txtPatternCount", u"ten"_s, u"ten"_s, count}};
    m_Main.Widget()->show();
    m_Form->show();
    m_Form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Form, 20'000));
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

TEST_F(PerfChkDialog, TakesTypedDigitsOnlyAndCountsWithTheArrows)
{
    QLineEdit& field = Box("txtPatternCount");
    field.clear();
    QTest::keyClicks(&field, u"-1a2.e"_s);
    EXPECT_EQ(field.text(), u"12"_s);
    const auto arrows = Control<QWidget>("udPatternCount").findChildren<QToolButton*>(); // up, down
    const std::tuple<QString, int, QString> rows[] = {{u"12"_s, 0, u"13"_s}, {u"65535"_s, 0, u"65535"_s},
                                                      {u"abc"_s, 0, u"2"_s}, {u"12"_s, 1, u"11"_s},
                                                      {u"1"_s, 1, u"1"_s},   {u"99999"_s, 1, u"65534"_s}};
    for (const auto& [text, arrow, counted] : rows) {
        field.setText(text);
        arrows.at(arrow)->click();
        EXPECT_EQ(field.text(), counted);
    }
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(field.text(), u"65535"_s);
}

TEST_F(PerfChkDialog, CallsWhatTheModeSaysAndNothingElse)
{
    const struct
    {
        int Mode;
        QStringList Calls;
        QString Value;
        QStringList DebugStrings;
    } rows[] = {{0, {Get, Get}, u" "_s, {u"3,25"_s, u"3,25"_s}},
                {1, {Put, Put}, u"7"_s, {}},
                {2, {Put, Get, Put, Get}, u"7"_s, {u"3,7"_s, u"3,7"_s}}};
    Tick("chkOutput");
    Tick("chkDataCheck"); // means something in mode 2 only
    for (const auto& row : rows) {
        ChooseSeven(row.Mode, 2);
        m_Ticks = {1000, 1250};
        TakeStatus();
        Run();
        EXPECT_EQ(TakeCalls(), row.Calls);
        EXPECT_EQ(TakeRows(), QStringList({Start, End(u"250"_s, row.Value)}));
        EXPECT_EQ(std::exchange(m_DebugStrings, {}), row.DebugStrings);
        EXPECT_EQ(TakeStatus(), QStringList({u"Runnning performance check..."_s, u""_s})); // spelled so: meant
    }
    EXPECT_EQ(TakeBoxes() + TakeLog(), QStringList()); // the check is never announced
}

TEST_F(PerfChkDialog, TheWholeWrittenValueIsShown)
{
    const std::pair<QString, QString> rows[] = {{u"ARRAY | I2"_s, QStringList(9, u"-1"_s).join(u',')},
                                                {u"BSTR"_s, u"a, "_s.repeated(400)},
                                                {u"EMPTY"_s, {}},
                                                {u"NULL"_s, {}}};
    ChooseSeven(1, 1);
    for (const auto& [type, text] : rows) {
        Choose("cmbValueType", type);
        Type("txtValue", text);
        Run();
        EXPECT_EQ(TakeRows(), QStringList({Start, End(u"0"_s, text)})) << type.toStdString();
    }
}

TEST_F(PerfChkDialog, FailuresEndTheRunUnlessIgnoredAndAreShownEitherWay)
{
    const QString write = u"2 'IVelSQLItem->put_Value' is failed."_s;
    const QString read = u"2 'IVelSQLItem->get_Value' is failed."_s;
    const struct
    {
        const char* Title;
        int Mode;
        bool Ignores, Checks;
        int FailAt; ///< which call
        QStringList Calls;
        QString Box;
    } rows[] = {
        {"read", 0, false, false, 2, {Get, Get}, read},
        {"write before read", 2, false, false, 3, {Put, Get, Put}, write},
        {"read after write", 2, false, true, 2, {Put, Get}, read},
        {"ignored write, the cycle goes on with the read", 2, true, false, 1, {Put, Get, Put, Get}, write},
        {"ignored read: nothing to compare", 2, true, true, 2, {Put, Get, Put, Get}, read},
        {"ignored write: what is read is older",
         2,
         true,
         true,
         1,
         {Put, Get},
         u"2 Write data and read data are different."_s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        m_Server.FindItem(u"PLC1"_s, u"D100"_s).Value = Variant(u"older"_s);
        ChooseSeven(row.Mode, 2);
        Tick("chkIgnore", row.Ignores);
        Tick("chkDataCheck", row.Checks);
        m_Server.FailCall(row.FailAt, u"refused"_s);
        Run();
        EXPECT_EQ(TakeCalls(), row.Calls);
        EXPECT_EQ(TakeRows(), QStringList({Start, Failed}));
        EXPECT_EQ(TakeBoxes(), QStringList({row.Box}));
        EXPECT_EQ(TakeStatus().constLast(), QString());
    }
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(PerfChkDialog, TimedRunsFollowTheTickCounterAcrossItsWrap)
{
    const struct
    {
        const char* Title;
        QString Hour, Minute;
        QList<quint32> Ticks;
        int Cycles;
        QString Elapsed;
    } rows[] = {
        {"no time, no cycle", u"0"_s, u"0"_s, {500, 500, 507}, 0, u"7"_s},
        {"one minute", u"0"_s, u"1"_s, {500, 500, 60'499, 60'500, 60'600}, 2, u"60100"_s},
        {"one short across the wrap", u"0"_s, u"1"_s, {4'294'967'295, 0, 59'999, 60'000, 60'001}, 2, u"60001"_s},
        {"the longest", u"500"_s, u"0"_s, {0, 1'799'999'999, 1'800'000'000, 1'800'000'000}, 1, u"1800000000"_s},
    };
    ChoosePattern(0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        Type("txtHour", row.Hour);
        Type("txtMinute", row.Minute);
        m_Ticks = row.Ticks;
        Run();
        EXPECT_EQ(TakeCalls().size(), row.Cycles);
        EXPECT_EQ(TakeRows(), QStringList({Start, End(row.Elapsed)}));
    }
}

TEST_F(PerfChkDialog, OnlyStopWorksWhileRunningAndEndsEveryPatternAfterTheCycle)
{
    m_Form->show();
    ChooseSeven(0, 65535);
    Type("txtHour", u"1"_s);
    for (int pattern = 0; pattern < 3; ++pattern) {
        ChoosePattern(pattern);
        const QString before = Enabled();
        WhenEventsRun([&] {
            EXPECT_EQ(Enabled(), u"cmdStop"_s);
            m_Form->close();
            QTest::keyClick(m_Form, Qt::Key_Escape);
            EXPECT_TRUE(m_Form->isVisible());
            Press("cmdStop");
        });
        Run();
        EXPECT_EQ(Enabled(), before);
        EXPECT_EQ(TakeCalls(), QStringList({Get}));
        EXPECT_EQ(TakeRows(), QStringList({Start, End(u"0"_s)}));
    }
    Press("cmdExit");
    EXPECT_FALSE(m_Form->isVisible());
}

TEST_F(PerfChkDialog, ARefusedEntryIsLoggedAndNothingRuns)
{
    ChooseSeven(1, 1);
    Type("txtValue", u"seven"_s);
    const QString before = Enabled();
    Run();
    ChooseMode(0);
    Type("txtPatternCount", u"many"_s);
    Run();
    EXPECT_EQ(TakeLog(), QStringList({u"VT_I4: \"seven\" is not a number"_s, u"Type mismatch"_s}));
    EXPECT_EQ(TakeCalls() + TakeRows(), QStringList());
    ChooseMode(1);
    EXPECT_EQ(Enabled(), before);
}

TEST_F(PerfChkDialog, TheLoopEndsSilentlyWhenTheDialogGoesAndThePriorityIsNormalAgain)
{
    ChoosePattern(2);
    Tick("chkIgnore");
    for (const QString& failure : {QString(), u"gone"_s}) {
        m_Server.FailOperation(u"get_Value"_s, failure);
        WhenEventsRun([this] { m_Form->Unload(); });
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({Get}));
        EXPECT_EQ(TakeRows(), QStringList({Start}));
    }
    EXPECT_EQ(m_Priorities, QList<quint32>({128}));
    WhenEventsRun([this] { delete m_Form.data(); });
    Run();
    EXPECT_EQ(TakeCalls(), QStringList({Get}));
    EXPECT_EQ(TakeBoxes(), QStringList());
    EXPECT_EQ(m_Priorities, QList<quint32>({128, 32}));
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}
