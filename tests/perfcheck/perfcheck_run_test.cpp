#include "tests/perfcheck/PerfChkDialog.h"

namespace {

const QString Start = u"START|03/07 14:05:09.042| | "_s;
const QString Failed = u"ERROR OCCURED!|||"_s; // spelled so: meant
const QString Put = u"put_Value(3,7)"_s;
const QString Get = u"get_Value()"_s;

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
        Choose("cmbValueType", u"I4"_s);
        Type("txtValue", u"7"_s);
        Type("txtPatternCount", QString::number(count));
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
        QStringList DebugStrings;
    } rows[] = {{0, {Get, Get}, {}, {u"3,25"_s, u"3,25"_s}},
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

TEST_F(PerfChkRun, FailuresEndTheRunUnlessIgnoredAndAreShownEitherWay)
{
    const QString write = u"2 'IVelSQLItem->put_Value' is failed."_s;
    const QString read = u"2 'IVelSQLItem->get_Value' is failed."_s;
    const QString different = u"2 Write data and read data are different."_s;
    const struct
    {
        const char* Title;
        int Mode;
        bool Ignores, Checks;
        int FailAt; ///< which call
        QStringList Calls;
        QString Box;
    } rows[] = {
        {"write", 1, false, false, 1, {Put}, write},
        {"read", 0, false, false, 2, {Get, Get}, read},
        {"write before read", 2, false, false, 3, {Put, Get, Put}, write},
        {"read after write", 2, false, true, 2, {Put, Get}, read},
        {"ignored write, the cycle goes on with the read", 2, true, false, 1, {Put, Get, Put, Get}, write},
        {"ignored read: nothing to compare", 2, true, true, 2, {Put, Get, Put, Get}, read},
        {"ignored write: what is read is older", 2, true, true, 1, {Put, Get}, different},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Title);
        Item().Value = Variant(u"older"_s);
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
        Type("txtHour", row.Hour);
        Type("txtMinute", row.Minute);
        m_Ticks = row.Ticks;
        Run();
        EXPECT_EQ(TakeCalls().size(), row.Cycles);
        EXPECT_EQ(TakeRows(), QStringList({Start, End(row.Elapsed)}));
    }
}

TEST_F(PerfChkRun, OnlyStopWorksWhileRunningAndEndsEveryPatternAfterTheCycle)
{
    m_Form->show();
    ChooseSeven(0, 65535);
    Type("txtHour", u"1"_s);
    for (int pattern = 0; pattern < 3; ++pattern) {
        ChoosePattern(pattern);
        const QString before = Enabled();
        InTheCycle([&] {
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

TEST_F(PerfChkRun, ARefusedEntryIsLoggedAndNothingRuns)
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

TEST_F(PerfChkRun, TheLoopEndsSilentlyWhenTheDialogGoesAndThePriorityIsNormalAgain)
{
    ChoosePattern(2);
    Tick("chkIgnore");
    for (const QString& failure : {QString(), u"gone"_s}) {
        m_Server.FailOperation(u"get_Value"_s, failure);
        InTheCycle([this] { m_Form->Unload(); });
        Run();
        EXPECT_EQ(TakeCalls(), QStringList({Get}));
        EXPECT_EQ(TakeRows(), QStringList({Start}));
    }
    EXPECT_EQ(m_Priorities, QList<quint32>({128}));
    InTheCycle([this] { delete m_Form.data(); });
    Run();
    EXPECT_EQ(TakeCalls(), QStringList({Get}));
    EXPECT_EQ(TakeBoxes(), QStringList());
    EXPECT_EQ(m_Priorities, QList<quint32>({128, 32}));
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}
