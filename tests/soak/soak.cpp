#include "controller/EventList.h"
#include "core/modMain.h"
#include "history/frmHistory.h"
#include "tests/soak/SoakMemory.h"
#include "tests/system/SystemConsole.h"

#include <QElapsedTimer>
#include <QPixmapCache>

#include <iostream>

namespace {

/// What a round after the warm-up may add to the heap, in KiB. Qt's cache of pictures keeps the names of pictures that
/// it has dropped, some 20 KiB of them a round; 42 KiB a round were measured under the sanitizer.
constexpr qint64 MostGrowth = 64;

/// Works like an operator with little patience, round after round; soak.sh says how long.
class Soak : public SystemConsole
{
protected:
    void OpenWindows()
    {
        for (const QStringView key : {u"VelSQLEngine", u"VelSQLEngine\\Archive", u"VelSQLEngine\\VelSQLHistory"})
            Show(key);
        const qsizetype windows = OpenEveryWindow(Node(PLC1));
        EXPECT_EQ(ChildWindow::Forms().size(), 3 + windows);
    }
    void StormOfEvents()
    {
        ChildWindow& window = Show(PLC1);
        Tick(window, "chkEvent_0");
        Tick(window, "chkEvent_1");
        auto& list = Control<EventList>(window, "lstLogEvent");
        list.Clear();
        Ask(u"fire PLC1 item D100 2000"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return list.ListCount() >= 2000; }, 300'000)) << list.ListCount();
        list.Clear();
    }
    void ReadLongResult()
    {
        auto& grid = Control<ResultGrid>(Query(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE "
                                               u"i < 20000) SELECT i, 'row ' || i FROM n"_s),
                                         "grdResult");
        EXPECT_TRUE(QTest::qWaitFor([&] { return grid.Model().IsComplete(); }, 60'000));
        QTest::keyClick(&grid, Qt::Key_End);
        QTest::qWait(100);
    }
    void WriteAndRead()
    {
        ChildWindow& window = Show(D100);
        for (int i = 0; i < 200; ++i) {
            Type(window, "txtValue", QString::number(i));
            Press(window, i % 2 ? "cmdPut" : "cmdGet");
        }
    }
    void RunAndCloseScript()
    {
        QWidget& window = RunScript(u"const item = Vlx.Controller('PLC1').Item('D100');\n"
                                    u"for (let i = 0; i < 500; ++i) { item.Value = i; print(item.Value); }"_s);
        EXPECT_TRUE(WaitForScript(window));
        Press(window, "cmdClear");
        window.close();
    }
    /// The server goes, by order or not; the open windows find the next one by themselves.
    void RestartServer(bool crash)
    {
        ChildWindow& window = Show(D100);
        if (crash) m_Server.Kill();
        else EXPECT_EQ(m_Server.Terminate(), 0);
        EXPECT_TRUE(WaitForCell(window, u"Name"_s, QString()));
        m_Server.Start();
        EXPECT_TRUE(WaitForCell(window, u"Name"_s, u"D100"_s));
    }
    void Round(int number)
    {
        modMain::Engine->Start();
        OpenWindows();
        StormOfEvents();
        ReadLongResult();
        WriteAndRead();
        Press(OpenBatch(QByteArray("D100,3,120\n").repeated(500)), "cmdStart");
        RunAndCloseScript();
        if (number % 3 == 2) RestartServer(number % 2);
        Entry("mnuWindow_1").trigger();
        EXPECT_TRUE(ChildWindow::Forms().isEmpty());
        QTest::qWait(300); // what was released is released at the server too
        EXPECT_EQ(Ask(u"references"_s), m_References);
        TakeLog();
        QPixmapCache::clear(); // it would take many rounds to fill
    }

    QString m_References;
};

} // namespace

TEST_F(Soak, RoundAfterRoundLeavesNothingBehind)
{
    const qint64 seconds = qEnvironmentVariableIntValue("VELSQL_SOAK_SECONDS");
    ASSERT_GT(seconds, 0) << "VELSQL_SOAK_SECONDS says how long to run; soak.sh sets it";
    StartBoth();
    m_References = Ask(u"references"_s);
    QElapsedTimer time;
    time.start();
    qint64 first = 0;
    int warmUp = 0;
    qint64 last = 0;
    int round = 0;
    for (; time.elapsed() < seconds * 1000 && !HasFailure(); ++round) {
        Round(round);
        last = HeapInUse();
        // The first third warms up: caches, fonts, buffers that grow in steps.
        if (time.elapsed() < seconds * 1000 / 3) {
            first = last;
            warmUp = round;
        }
        std::cout << "round " << round + 1 << ", " << time.elapsed() / 1000 << " s: heap of the console " << last
                  << " KiB, resident " << ResidentOf(QCoreApplication::applicationPid()) << " KiB, server "
                  << ResidentOf(m_Server.ProcessId()) << " KiB" << std::endl;
    }
    EXPECT_GT(round, 3) << "too short to say anything";
    EXPECT_LT((last - first) / std::max(1, round - 1 - warmUp), MostGrowth) << "KiB a round since the warm-up";
}
