#include "tests/scripttool/ScriptWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTextBlock>
#include <QTimer>

namespace {

struct OneRun
{
    const char* Program;
    QString Status;
    QString Printed;
};

} // namespace

TEST_F(ScriptWindow, EveryRunEndsWithWhatItPrintedAndHowItEnded)
{
    m_Tool->put_Script(u"ü\r\n"_s.repeated(100'000)); // more than fits into a pipe, and read by the first program only
    const OneRun runs[] = {
        {"echo \"$@\"; wc -c", u"Ended."_s, u"--attach --title Script -\n300000\n"_s},
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
        Control("cmdClear").click();
        QElapsedTimer lasted;
        lasted.start();
        EXPECT_EQ(Run(run.Program), run.Status);
        EXPECT_EQ(Printed(), run.Printed);
        EXPECT_LT(lasted.elapsed(), 2500);
    }
    m_Tool = std::make_unique<ScriptTool>(u"/nowhere/program"_s);
    m_Window = QApplication::topLevelWidgets().constFirst();
    const QString message = Run("");
    EXPECT_TRUE(message.startsWith(u"The script could not be started: "_s)) << message.toStdString();
    EXPECT_EQ(Printed(), message + u'\n');
}

TEST_F(ScriptWindow, StopAndTheEndOfTheToolEndEverythingThatTheScriptStarted)
{
    for (const char* program :
         {"echo $$ >pid; while :; do sleep 1; done", "trap '' TERM; echo $$ >pid; while :; do echo x; done",
          "(trap '' TERM; sh -c 'echo $PPID' >pid; while :; do sleep 1; done) & wait"}) {
        SCOPED_TRACE(program);
        Start(program);
        const int pid = Pid();
        EXPECT_TRUE(Lives(pid) && Status() == u"Running... 0 s"_s);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 2000));
    }
    Start("trap '' TERM; echo $$ >pid; while :; do echo x; done");
    const int pid = Pid();
    m_Window->close(); // the script goes on in the hidden window
    QTest::qWait(100);
    EXPECT_TRUE(Lives(pid));
    m_Tool.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 2000));
}

TEST_F(ScriptWindow, AFloodIsHeldBackAndLeavesTheWindowItsTurns)
{
    for (const char* flood : {"yes", "yes >&2", "tr '\\0' x </dev/zero", "cat /dev/urandom"}) {
        SCOPED_TRACE(flood);
        int turns = 0;
        QTimer turn;
        turn.callOnTimeout([&] { ++turns; });
        turn.start(10);
        Start(QByteArray("echo $$ >pid; exec ") + flood);
        QElapsedTimer time;
        time.start();
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                return turns > 50 && Output().document()->firstBlock().text() == u"(Earlier output was dropped.)"_s;
            },
            60'000));
        QFile io(u"/proc/%1/io"_s.arg(Pid()));
        ASSERT_TRUE(io.open(QIODevice::ReadOnly));
        const qint64 printed = io.readAll().split('\n').value(1).mid(7).toLongLong();
        EXPECT_LT(printed, 2'000'000 + time.elapsed() * 6'000) << "the program waits while nobody reads";
        EXPECT_LE(Output().blockCount(), OutputPane::MaxLines + 1);
        EXPECT_LE(Output().document()->characterCount(), OutputPane::MaxCharacters + 100);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_EQ(Printed().count(u"(Earlier output was dropped.)"_s), 1);
        Control("cmdClear").click();
        EXPECT_EQ(Printed(), QString());
    }
}
