#include "core/modMain.h"
#include "tests/perfcheck/PerfChkDialog.h"

namespace {

const QString Start = u"START|03/07 14:05:09.042| | "_s;
const QString Failed = u"ERROR OCCURED!|||"_s;
const QString Put = u"put_Value(3,7)"_s;
const QString Get = u"get_Value()"_s;
const QString WriteFailed = u"'IVelSQLItem->put_Value' is failed."_s;
const QString ReadFailed = u"'IVelSQLItem->get_Value' is failed."_s;
const QString Different = u"Write data and read data are different."_s;

QString End(const QString& milliseconds, const QString& value = {})
{
    return u"END|03/07 14:05:09.042|%1|%2"_s.arg(milliseconds, value);
}

class PerfChkRun : public PerfChkDialog
{
protected:
    void ChooseSeven(int mode, int count)
    {
        ChooseMode(mode);
        ChooseType(u"I4"_s);
        Field("txtValue").setText(u"7"_s);
        Field("txtPatternCount").setText(QString::number(count));
    }
};

} // namespace

TEST_F(PerfChkRun, CallsWhatTheModeSaysAndNothingElse)
{
    const struct
    {
        int Mode;
        QStringList Calls;
        QString Value;
    } rows[] = {{0, {Get, Get}, {}}, {1, {Put, Put}, u"7"_s}, {2, {Put, Get, Put, Get}, u"7"_s}};
    for (const auto& row : rows) {
        ChooseSeven(row.Mode, 2);
        m_Ticks = {1000, 1250};
        Run();
        EXPECT_EQ(TakeCalls(), row.Calls);
        EXPECT_EQ(Rows(), QStringList({Start, End(u"250"_s, row.Value)}));
        Button("cmdClear").click();
        EXPECT_EQ(Rows(), QStringList());
    }
    EXPECT_EQ(m_Main->LogMessages(), QStringList()); // the check is never announced
    EXPECT_EQ(m_Main->m_StatusTexts.first(2), QStringList({u"Runnning performance check..."_s, u""_s}));
    EXPECT_EQ(m_Boxes, QStringList());
}

TEST_F(PerfChkRun, FailuresEndTheRunUnlessIgnoredAndAreShownEitherWay)
{
    const struct
    {
        const char* Title;
        int Mode;
        bool Ignores, Checks;
        int FailAt; ///< which call
        QStringList Calls;
        QString Box;
    } rows[] = {
        {"write", 1, false, false, 1, {Put}, WriteFailed},
        {"read", 0, false, false, 2, {Get, Get}, ReadFailed},
        {"write before read", 2, false, false, 3, {Put, Get, Put}, WriteFailed},
        {"read after write", 2, false, true, 2, {Put, Get}, ReadFailed},
        {"ignored write, the cycle goes on with the read", 2, true, false, 1, {Put, Get, Put, Get}, WriteFailed},
        {"ignored read: nothing to compare", 2, true, true, 2, {Put, Get, Put, Get}, ReadFailed},
        {"ignored write: what is read is older", 2, true, true, 1, {Put, Get}, Different},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        Item().Value = Variant(u"older"_s);
        ChooseSeven(row.Mode, 2);
        Control<QAbstractButton>(u"chkIgnore"_s).setChecked(row.Ignores);
        Control<QAbstractButton>(u"chkDataCheck"_s).setChecked(row.Checks);
        m_Server.FailCall(row.FailAt, u"refused"_s);
        Run();
        EXPECT_EQ(TakeCalls(), row.Calls);
        EXPECT_EQ(Rows(), QStringList({Start, Failed}));
        EXPECT_EQ(std::exchange(m_Boxes, {}), QStringList({row.Box}));
        EXPECT_EQ(m_Main->Status(), QString());
        Button("cmdClear").click();
    }
    EXPECT_EQ(m_Main->LogMessages(), QStringList());
}

TEST_F(PerfChkRun, TheDataCheckComparesByValueAndOnlyWhereBothIsDone)
{
    ChooseSeven(2, 1);
    Tick(u"chkDataCheck"_s);
    Run();
    EXPECT_EQ(Rows(), QStringList({Start, End(u"0"_s, u"7"_s)}));
    ChooseMode(0); // the tick stays, without meaning
    Run();
    EXPECT_EQ(Rows().size(), 4);
    EXPECT_EQ(m_Boxes, QStringList());
}

TEST_F(PerfChkRun, TimedRunsFollowTheTickCounterAcrossItsWrap)
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
        Field("txtHour").setText(row.Hour);
        Field("txtMinute").setText(row.Minute);
        m_Ticks = row.Ticks;
        Run();
        EXPECT_EQ(TakeCalls().size(), row.Cycles);
        EXPECT_EQ(Rows(), QStringList({Start, End(row.Elapsed)}));
        Button("cmdClear").click();
    }
}

TEST_F(PerfChkRun, StopEndsEveryPatternAfterTheCycle)
{
    Field("txtPatternCount").setText(u"65535"_s);
    for (int pattern = 0; pattern < 3; ++pattern) {
        ChoosePattern(pattern);
        InTheCycle([this] { Button("cmdStop").click(); });
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({Get}));
        EXPECT_EQ(Rows(), QStringList({Start, End(u"0"_s)}));
        Button("cmdClear").click();
    }
}

TEST_F(PerfChkRun, OnlyStopWorksWhileRunning)
{
    ChooseSeven(2, 1);
    Tick(u"chkDataCheck"_s);
    const QStringList before = Enabled();
    m_Form->show();
    QStringList during;
    InTheCycle([&] {
        during = Enabled();
        m_Form->close();
        QTest::keyClick(m_Form, Qt::Key_Escape);
        EXPECT_TRUE(m_Form->isVisible());
    });
    Run();
    EXPECT_EQ(during, QStringList({u"cmdStop"_s}));
    EXPECT_EQ(Enabled(), before);
    Button("cmdExit").click();
    EXPECT_FALSE(m_Form->isVisible());
}

TEST_F(PerfChkRun, ARefusedEntryIsLoggedAndNothingRuns)
{
    ChooseSeven(1, 1);
    Field("txtValue").setText(u"seven"_s);
    const QStringList before = Enabled();
    Run();
    EXPECT_EQ(m_Main->LogMessages().size(), 1);
    EXPECT_EQ(m_Main->Status(), u"Ready."_s);
    ChooseMode(0);
    Field("txtPatternCount").setText(u"many"_s);
    Run();
    EXPECT_EQ(m_Main->LogMessages().constLast(), u"Type mismatch"_s);
    EXPECT_EQ(TakeCalls(), QStringList());
    EXPECT_EQ(Rows(), QStringList());
    ChooseMode(1);
    EXPECT_EQ(Enabled(), before);
}

TEST_F(PerfChkRun, ReadValuesGoToTheDebugOutputAsTypedText)
{
    ChooseSeven(2, 2);
    Tick(u"chkOutput"_s);
    Run();
    EXPECT_EQ(m_DebugStrings, QStringList({u"3,7"_s, u"3,7"_s}));
}

TEST_F(PerfChkRun, HighPriorityLastsAsLongAsTheDialog)
{
    EXPECT_EQ(m_Priorities, QList<quint32>({128}));
    Run();
    delete m_Form.data();
    EXPECT_EQ(m_Priorities, QList<quint32>({128, 32}));
}

TEST_F(PerfChkRun, TheLoopEndsWhenTheDialogOrTheMainWindowGoes)
{
    for (const bool failing : {false, true}) {
        ChoosePattern(2);
        Tick(u"chkIgnore"_s);
        if (failing) m_Server.FailOperation(u"get_Value"_s, u"gone"_s);
        InTheCycle([this] { m_Form->Unload(); });
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({Get}));
    }
    InTheCycle([this] { m_Main.reset(); });
    Run();
    EXPECT_FALSE(m_Form);
    EXPECT_EQ(TakeCalls(), QStringList({Get}));
    EXPECT_EQ(m_Boxes, QStringList());
    EXPECT_EQ(m_Server.m_LiveObjects, 0);
}
