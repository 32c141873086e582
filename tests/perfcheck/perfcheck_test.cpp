#include "perfcheck/frmPerfChk.h"
#include "tests/support/WindowTest.h"

#include <QClipboard>

namespace {

/// The dialog on item D100 of PLC1; ticks, time, priority and debug strings are the test's own.
class PerfChkDialog : public WindowTest<frmPerfChk>
{
protected:
    PerfChkDialog()
    {
        m_Form = new frmPerfChk(m_Main.Widget());
        m_Form->m_csItem = modMain::Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
        TakeCalls();
    }
    ~PerfChkDialog() override { delete m_Form.data(); }

    void ChoosePattern(int index) { Control<QAbstractButton>(u"optPattern_%1"_s.arg(index)).setChecked(true); }
    void ChooseMode(int index) { Control<QAbstractButton>(u"optReadWrite_%1"_s.arg(index)).setChecked(true); }
    /// Presses "Start"; what the item was asked until the run is over, with "get" and "put" for usual calls.
    QString Run()
    {
        Press("cmdStart");
        QString calls = TakeCalls().join(u' ').remove(u"Item(D100)."_s);
        return calls.replace(u"put_Value(3,7)"_s, u"put"_s).replace(u"get_Value()"_s, u"get"_s);
    }
    /// The names of all controls that the operator can use now.
    QString Enabled()
    {
        return EnabledOf(u"optPattern_0 txtHour lblTimeDelimiter txtMinute optPattern_1 txtPatternCount udPatternCount "
                         "optPattern_2 optReadWrite_0 optReadWrite_1 optReadWrite_2 lblValue cmbValueType txtValue "
                         "chkDataCheck chkIgnore chkOutput cmdStart cmdStop cmdClear cmdExit"_s);
    }
    void ChooseSeven(int mode, int count)
    {
        ChooseMode(mode);
        Choose("cmbValueType", u"I4"_s);
        Type("txtValue", u"7"_s);
        Type("txtPatternCount", QString::number(count));
    }
    /// The result list, cells separated by "|", without the time; it is cleared.
    QStringList TakeRows()
    {
        QStringList rows;
        for (const QTreeWidgetItem* row : Control<QTreeWidget>("lvResult").findItems({}, Qt::MatchContains))
            rows << QStringList({row->text(0), row->text(1), row->text(2), row->text(3)}).join(u'|');
        Press("cmdClear");
        return rows.replaceInStrings(u"|03/07 14:05:09.042|"_s, u" "_s);
    }

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
    const QString value = u"lblValue cmbValueType txtValue "_s, modes[] = {{}, value, value + u"chkDataCheck "_s};
    EXPECT_EQ(List("cmbValueType").currentText(), u"BSTR"_s);
    for (int i = 0; i < 18; ++i) {
        const int pattern = i / 6, mode = i / 2 % 3;
        const QString type = i % 2 == 0 ? u"BSTR"_s : u"(Unknown)"_s;
        ChoosePattern(pattern);
        ChooseMode(mode);
        Choose("cmbValueType", type);
        const QString start = mode != 0 && i % 2 == 1 ? QString() : u"cmdStart "_s;
        EXPECT_EQ(Enabled(), always.arg(patterns[pattern], modes[mode], start));
    }
}

TEST_F(PerfChkDialog, RefusesNumbersOutOfRangeWhenTheFieldIsLeft)
{
    // What is refused stays as it is, selected; what is accepted becomes the last text.
    const std::tuple<int, QString, QString, QString, QString, QString> rows[] = {
        {0, u"txtHour"_s, u"0 to 500 into the hour."_s, u"501;3000000000"_s, u"500"_s, u"500"_s},
        {0, u"txtMinute"_s, u"0 to 59 into the minute."_s, u"60;"_s, u"2.5"_s, u"2"_s},
        {1, u"txtPatternCount"_s, u"1 to 65535 into the number of times."_s, u"0;65536;ten"_s, u" 007 "_s, u"7"_s}};
    m_Main.Widget()->show();
    m_Form->show();
    m_Form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Form, 20'000));
    for (const auto& [pattern, name, complaint, refusedTexts, accepted, left] : rows) {
        QLineEdit& field = Box(name);
        ChoosePattern(pattern);
        for (const QString& text : refusedTexts.split(u';') + QStringList{accepted}) {
            const bool refused = text != accepted;
            field.setFocus();
            field.setText(text);
            QTest::mouseClick(&Control<QPushButton>("cmdClear"), Qt::LeftButton);
            EXPECT_EQ(TakeBoxes().join(u' '), refused ? u"2 Input the integer of "_s + complaint : QString());
            EXPECT_EQ(field.hasFocus(), refused) << text.toStdString();
            EXPECT_EQ(field.text() + u'|' + field.selectedText(), refused ? text + u'|' + text : left + u'|');
        }
    }
}

TEST_F(PerfChkDialog, TakesTypedDigitsOnlyButAnythingPastedAndCountsByKeys)
{
    QLineEdit& field = Box("txtPatternCount");
    field.clear();
    QTest::keyClicks(&field, u"-1a2.b3 e"_s);
    QKeyEvent arabicDigit(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, u"\u0663"_s);
    QCoreApplication::sendEvent(&field, &arabicDigit);
    QTest::keyClick(&field, Qt::Key_Backspace);
    QApplication::clipboard()->setText(u"x1"_s);
    QTest::keyClick(&field, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(field.text(), u"12x1"_s);
    QTest::keyClick(&field, Qt::Key_Up);
    EXPECT_EQ(field.text(), u"2"_s) << "one more than the lowest";
}

TEST_F(PerfChkDialog, CallsWhatTheModeSaysAndShowsTheWholeWrittenValue)
{
    const QString numbers = QStringList(9, u"-1"_s).join(u','), longText = u"a, "_s.repeated(400);
    const std::tuple<int, QString, QString, QString, QStringList, QString> rows[] = {
        // mode, type and text, then one cycle's calls, what is put out, and the value shown
        {0, u"I4"_s, u"7"_s, u"get"_s, {u"3,25"_s, u"3,25"_s}, u" "_s},
        {1, u"I4"_s, u"7"_s, u"put"_s, {}, u"7"_s},
        {2, u"I4"_s, u"7"_s, u"put get"_s, {u"3,7"_s, u"3,7"_s}, u"7"_s},
        {1, u"ARRAY | I2"_s, numbers, u"put_Value(8194,%1)"_s.arg(numbers), {}, numbers},
        {1, u"BSTR"_s, longText, u"put_Value(8,%1)"_s.arg(longText), {}, longText},
        {1, u"EMPTY"_s, {}, u"put_Value(0,)"_s, {}, {}},
        {1, u"NULL"_s, {}, u"put_Value(1)"_s, {}, {}}};
    Tick("chkOutput");
    Tick("chkDataCheck"); // means something in mode 2 only
    for (const auto& [mode, type, text, cycle, debugStrings, shown] : rows) {
        ChooseSeven(mode, 2);
        Choose("cmbValueType", type);
        Type("txtValue", text);
        m_Ticks = {1000, 1250};
        TakeStatus();
        EXPECT_EQ(Run(), cycle + u' ' + cycle);
        EXPECT_EQ(TakeRows(), QStringList({u"START  | "_s, u"END 250|"_s + shown}));
        EXPECT_EQ(std::exchange(m_DebugStrings, {}), debugStrings);
        EXPECT_EQ(TakeStatus(), QStringList({u"Runnning performance check..."_s, u""_s})); // spelled so on purpose
    }
    EXPECT_EQ(TakeBoxes() + TakeLog(), QStringList()); // the check is never announced
}

TEST_F(PerfChkDialog, FailuresEndTheRunUnlessIgnoredAndAreShownEitherWay)
{
    const QString write = u"2 'IVelSQLItem->put_Value' is failed."_s;
    const QString read = u"2 'IVelSQLItem->get_Value' is failed."_s;
    const QString differs = u"2 Write data and read data are different."_s;
    // Mode, whether failures are ignored and data is checked, which call fails, what is called and told.
    const std::tuple<int, bool, bool, int, QString, QString> rows[] = {
        {0, false, false, 2, u"get get"_s, read},       {2, false, false, 3, u"put get put"_s, write},
        {2, false, true, 2, u"put get"_s, read},        {2, true, false, 1, u"put get put get"_s, write},
        {2, true, true, 2, u"put get put get"_s, read}, // there is nothing to compare
        {2, true, true, 1, u"put get"_s, differs}};     // what is read is older
    for (const auto& [mode, ignores, checks, failAt, calls, box] : rows) {
        m_Server.FindItem(u"PLC1"_s, u"D100"_s).Value = Variant(u"older"_s);
        ChooseSeven(mode, 2);
        Tick("chkIgnore", ignores);
        Tick("chkDataCheck", checks);
        m_Server.FailCall(failAt, u"refused"_s);
        EXPECT_EQ(Run(), calls);
        EXPECT_EQ(TakeRows(), QStringList({u"START  | "_s, u"ERROR OCCURED!|||"_s})); // spelled so on purpose
        EXPECT_EQ(TakeBoxes(), QStringList({box}));
        EXPECT_EQ(TakeStatus().constLast(), QString());
    }
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(PerfChkDialog, TimedRunsFollowTheTickCounterAcrossItsWrap)
{
    const std::tuple<QString, QString, QList<quint32>, QString, QString> rows[] = {
        {u"0"_s, u"0"_s, {500, 500, 507}, u""_s, u"7"_s}, // no time, no cycle
        {u"0"_s, u"1"_s, {500, 500, 60'499, 60'500, 60'600}, u"get get"_s, u"60100"_s},
        {u"0"_s, u"1"_s, {4'294'967'295, 0, 59'999, 60'000, 60'001}, u"get get"_s, u"60001"_s}, // intended: one short
        {u"500"_s, u"0"_s, {0, 1'799'999'999, 1'800'000'000, 1'800'000'000}, u"get"_s, u"1800000000"_s}};
    ChoosePattern(0);
    for (const auto& [hour, minute, ticks, calls, elapsed] : rows) {
        Type("txtHour", hour);
        Type("txtMinute", minute);
        m_Ticks = ticks;
        EXPECT_EQ(Run(), calls);
        EXPECT_EQ(TakeRows(), QStringList({u"START  | "_s, u"END %1| "_s.arg(elapsed)}));
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
        EXPECT_EQ(Run(), u"get"_s);
        EXPECT_EQ(Enabled(), before);
        EXPECT_EQ(TakeRows(), QStringList({u"START  | "_s, u"END 0| "_s}));
    }
    ChooseMode(1);
    Type("txtValue", u"seven"_s);
    const QString before = Enabled();
    EXPECT_EQ(Run(), QString());
    EXPECT_EQ(Enabled(), before);
    ChoosePattern(1);
    Type("txtPatternCount", u"many"_s);
    ChooseMode(0);
    EXPECT_EQ(Run(), QString());
    EXPECT_EQ(TakeLog() + TakeRows(), QStringList({u"VT_I4: \"seven\" is not a number"_s, u"Type mismatch"_s}));
    Press("cmdExit");
    EXPECT_FALSE(m_Form->isVisible());
}

TEST_F(PerfChkDialog, TheLoopEndsSilentlyWhenTheDialogGoesAndThePriorityIsNormalAgain)
{
    ChoosePattern(2);
    Tick("chkIgnore");
    for (const QString& failure : {QString(), u"gone"_s}) {
        m_Server.FailOperation(u"get_Value"_s, failure);
        WhenEventsRun([this] { m_Form->Unload(); });
        EXPECT_EQ(Run(), u"get"_s);
        EXPECT_EQ(TakeRows(), QStringList{u"START  | "_s});
    }
    EXPECT_EQ(m_Priorities, QList<quint32>({128}));
    WhenEventsRun([this] { delete m_Form.data(); });
    EXPECT_EQ(Run(), u"get"_s);
    EXPECT_EQ(TakeBoxes(), QStringList());
    EXPECT_EQ(m_Priorities, QList<quint32>({128, 32}));
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}
