#include "core/automation/Errors.h"
#include "tests/scripttool/ScriptWindow.h"

#include <QElapsedTimer>
#include <QTextBlock>

namespace {

class ScriptProcesses : public ScriptWindow
{
protected:
    /// The process that wrote its number to the file "pid" in its folder.
    int Pid()
    {
        QFile file(m_Folder.filePath(u"pid"_s));
        EXPECT_TRUE(QTest::qWaitFor([&] { return file.size() > 0; }, 10'000) && file.open(QIODevice::ReadOnly));
        return file.readAll().trimmed().toInt();
    }
    /// Whether a process is there; one that waits to be collected is not.
    static bool Lives(int pid)
    {
        QFile stat(u"/proc/%1/stat"_s.arg(pid));
        return stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z ");
    }
};

} // namespace

TEST_F(ScriptProcesses, EndWithWhatTheyPrintedAndHowTheyEnded)
{
    m_Tool->put_Script(u"ü\r\n"_s.repeated(100'000)); // more than fits into a pipe, and read by the first program only
    const std::tuple<const char*, QString, QString> runs[] = {
        {"echo \"$@\"; wc -c", u"Ended."_s, u"--attach --mark-errors --title Script -\n300000\n"_s},
        {"exec <&-", u"Ended."_s, u""_s},
        {"echo a; echo b >&2; exit 3", u"Failed (exit code 3)."_s, u"a\nb\n"_s},
        {"kill -9 $$", u"The script process ended unexpectedly (signal 9)."_s, u""_s},
        {"printf 'a\\rb\\0c\\370\\tm\\303'; sleep 0.1; printf '\\274\\r\\n'", u"Ended."_s, u"ab\uFFFDc\uFFFD\tmü\n"_s},
        {"printf 'a\\n\\376b\\n\\377c\\n'", u"Ended."_s, u"a\nb\nc\n"_s}, // an error between its marks
        {"sleep 30 & echo after", u"Ended."_s, u"after\n"_s},             // does not wait for who holds the pipe
        {"head -c 300000 /dev/zero | tr '\\0' x; echo; echo end", u"Ended."_s, QString(300'000, u'x') + u"\nend\n"_s},
    };
    for (const auto& [program, status, printed] : runs) {
        SCOPED_TRACE(program);
        Press("cmdClear");
        EXPECT_EQ(Run(program), status);
        EXPECT_EQ(Printed(), printed);
    }
    m_Tool = std::make_unique<ScriptTool>(u"/nowhere/program"_s);
    Show();
    QTest::keyClick(&Editor(), Qt::Key_F5);
    EXPECT_TRUE(End().startsWith(u"The script could not be started: "_s)) << Status().toStdString();
    EXPECT_EQ(Printed(), Status() + u'\n');
}

TEST_F(ScriptProcesses, EndByStopOrWithTheToolTogetherWithAllThatTheyStarted)
{
    const QByteArray deafChild = "(trap '' TERM; sh -c 'echo $PPID' >pid; while :; do sleep 1; done) & wait";
    const QByteArray deafFlood = "trap '' TERM; echo $$ >pid; while :; do echo x; done";
    for (const bool byStop : {true, false}) {
        Start(byStop ? deafChild : deafFlood);
        const int pid = Pid();
        if (!byStop) m_Form->close(); // the script goes on in the hidden window
        QTest::qWait(100);
        EXPECT_TRUE(Lives(pid) && Status().startsWith(u"Running... "));
        if (byStop) EXPECT_EQ(Stop(), u"Stopped."_s);
        else m_Tool.reset();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 10'000));
    }
}

TEST_F(ScriptProcesses, ThatFloodAreHeldBackAndLeaveTheWindowItsTurns)
{
    for (const char* flood : {"yes >&2", "cat /dev/urandom"}) {
        int turns = 0;
        QTimer turn;
        turn.callOnTimeout([&] { ++turns; });
        turn.start(10);
        Start(QByteArray("echo $$ >pid; exec ") + flood);
        QElapsedTimer time;
        time.start();
        const QString dropped = u"(Earlier output was dropped.)"_s;
        const auto isFull = [&] { return Output().document()->firstBlock().text() == dropped; };
        EXPECT_TRUE(QTest::qWaitFor([&] { return turns > 50 && isFull(); }, 60'000)) << flood;
        QFile io(u"/proc/%1/io"_s.arg(Pid()));
        ASSERT_TRUE(io.open(QIODevice::ReadOnly));
        const qint64 printed = io.readAll().split('\n').value(1).mid(7).toLongLong();
        EXPECT_LT(printed, 2'000'000 + time.elapsed() * 6'000) << "the program waits while nobody reads";
        EXPECT_LE(Output().blockCount(), OutputPane::MaxLines + 1);
        EXPECT_LE(Output().document()->characterCount(), OutputPane::MaxCharacters + 100);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_EQ(Printed().count(dropped), 1);
    }
}

TEST_F(ScriptProcesses, KnowTheEngineByTheNamesGiven)
{
    const EngineRef engine = modMain::Engine;
    m_Tool->AddObject(u"Vlx"_s, engine);
    m_Tool->AddObject(u"$e_2"_s, engine);
    EXPECT_THROW(m_Tool->AddObject(u"Vlx"_s, engine), ServerError);
    EXPECT_THROW(m_Tool->AddObject(u"-x"_s, engine), ServerError);
    EXPECT_THROW(m_Tool->AddObject(u"c"_s, engine->get_Controller(Variant(u"PLC1"_s))), ServerError);
    Run("echo \"$@\"");
    m_Tool->RemoveObject(u"Vlx"_s);
    EXPECT_THROW(m_Tool->RemoveObject(u"Vlx"_s), ServerError);
    Run("echo \"$@\"");
    EXPECT_EQ(Printed(), u"--attach --mark-errors --title Script --name Vlx --name $e_2 -\n"
                         "--attach --mark-errors --title Script --name $e_2 -\n"_s);
}
