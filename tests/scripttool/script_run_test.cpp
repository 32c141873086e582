#include "tests/scripttool/ScriptWindow.h"

#include <QElapsedTimer>
#include <QTimer>

#include <unistd.h>

namespace {

struct OneRun
{
    const char* Program;
    QString Status;
    QString Printed;
};

qint64 ResidentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly)) return 0;
    return file.readAll().split(' ').value(1).toLongLong() * getpagesize();
}

} // namespace

TEST_F(ScriptWindow, EveryRunEndsWithWhatItPrintedAndHowItEnded)
{
    m_Tool->put_Script(u"let ü = 1;\r\nx"_s);
    const OneRun runs[] = {
        {"echo \"$@\"; cat", u"Ended."_s, u"--title Script -\nlet ü = 1;\nx"_s},
        {"exec <&-", u"Ended."_s, u""_s},
        {"echo a; echo b >&2; exit 3", u"Failed (exit code 3)."_s, u"a\nb\n"_s},
        {"kill -9 $$", u"The script process ended unexpectedly (signal 9)."_s, u""_s},
        {"printf 'a\\rb\\0c\\377\\tm\\303'; sleep 0.1; printf '\\274\\r\\n'", u"Ended."_s, u"ab\uFFFDc\uFFFD\tmü\n"_s},
        {"echo before; sleep 3 & echo after", u"Ended."_s,
         u"before\nafter\n"_s}, // does not wait for who holds the pipe
        {"head -c 300000 /dev/zero | tr '\\0' x; echo; echo end", u"Ended."_s, QString(300'000, u'x') + u"\nend\n"_s},
    };
    for (const OneRun& run : runs) {
        SCOPED_TRACE(run.Program);
        RunBy(run.Program);
        Control("cmdClear").click();
        QElapsedTimer lasted;
        lasted.start();
        EXPECT_EQ(Run(), run.Status);
        EXPECT_EQ(Printed(), run.Printed);
        EXPECT_LT(lasted.elapsed(), 2500);
    }
}

TEST_F(ScriptWindow, AProgramThatCannotBeStartedIsSaidInOutputAndStatus)
{
    const QString message = Run(); // there is no program yet
    EXPECT_TRUE(message.startsWith(u"The script could not be started: "_s)) << message.toStdString();
    EXPECT_EQ(Printed(), message + u'\n');
}

TEST_F(ScriptWindow, ALongScriptThatIsNeverReadDoesNotHoldTheWindow)
{
    m_Tool->put_Script(u"12345678\n"_s.repeated(110'000));
    RunBy("sleep 0.2; echo done");
    EXPECT_EQ(Run(), u"Ended."_s);
    EXPECT_EQ(Printed(), u"done\n"_s);
    RunBy("wc -c");
    Run();
    EXPECT_EQ(Printed().section(u'\n', 1).trimmed(), u"990000"_s);
}

TEST_F(ScriptWindow, StopEndsEverythingThatTheScriptStarted)
{
    for (const char* program :
         {"echo $$ >pid; while :; do sleep 1; done", "trap '' TERM; echo $$ >pid; while :; do sleep 1; done",
          "(trap '' TERM; sh -c 'echo $PPID' >pid; while :; do sleep 1; done) & wait"}) {
        SCOPED_TRACE(program);
        QFile::remove(m_Folder.filePath(u"pid"_s));
        RunBy(program);
        Start();
        const int pid = Pid();
        EXPECT_TRUE(Lives(pid));
        EXPECT_EQ(Status(), u"Running... 0 s"_s);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 2000));
    }
    RunBy("echo again");
    EXPECT_EQ(Run(), u"Ended."_s);
}

TEST_F(ScriptWindow, AToolThatGoesEndsItsScript)
{
    RunBy("trap '' TERM; echo $$ >pid; while :; do echo x; done");
    Start();
    const int pid = Pid();
    m_Window->close(); // the script goes on in the hidden window
    QTest::qWait(100);
    EXPECT_TRUE(Lives(pid));
    m_Tool.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 2000));
}

TEST_F(ScriptWindow, AFloodIsHeldBackAndLeavesTheWindowItsTurns)
{
    for (const char* flood : {"exec yes", "exec yes >&2", "exec tr '\\0' x </dev/zero", "exec cat /dev/urandom"}) {
        SCOPED_TRACE(flood);
        RunBy(flood);
        const qint64 before = ResidentBytes();
        Start();
        int turns = 0;
        QTimer turn;
        turn.callOnTimeout([&] { ++turns; });
        turn.start(10);
        QTest::qWait(1500);
        EXPECT_GT(turns, 20);
        EXPECT_LE(Output().blockCount(), OutputPane::MaxLines + 1);
        EXPECT_LE(Output().document()->characterCount(), OutputPane::MaxCharacters + 100);
        EXPECT_LT(ResidentBytes() - before, 150'000'000);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_EQ(Printed().count(u"(Earlier output was dropped.)"_s), 1);
        Control("cmdClear").click();
        EXPECT_EQ(Printed(), QString());
    }
}
