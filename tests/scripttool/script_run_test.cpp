#include "core/automation/Errors.h"
#include "tests/scripttool/ScriptWindow.h"

#include <QElapsedTimer>
#include <QTextBlock>

namespace {

const QString Dropped = u"(Earlier output was dropped.)"_s;

} // namespace

TEST_F(ScriptWindow, EveryRunEndsWithWhatItPrintedAndHowItEnded)
{
    m_Tool->put_Script(u"ü\r\n"_s.repeated(100'000)); // more than fits into a pipe, and read by the first program only
    const struct
    {
        const char* Program;
        QString Status;
        QString Printed;
    } runs[] = {
        {"echo \"$@\"; wc -c", u"Ended."_s, u"--attach --mark-errors --title Script -\n300000\n"_s},
        {"exec <&-", u"Ended."_s, u""_s},
        {"echo a; echo b >&2; exit 3", u"Failed (exit code 3)."_s, u"a\nb\n"_s},
        {"kill -9 $$", u"The script process ended unexpectedly (signal 9)."_s, u""_s},
        {"printf 'a\\rb\\0c\\370\\tm\\303'; sleep 0.1; printf '\\274\\r\\n'", u"Ended."_s, u"ab\uFFFDc\uFFFD\tmü\n"_s},
        {"printf 'a\\n\\376b\\n\\377c\\n'", u"Ended."_s, u"a\nb\nc\n"_s}, // an error between its marks
        {"sleep 30 & echo after", u"Ended."_s, u"after\n"_s}, // does not wait for who holds the pipe
        {"head -c 300000 /dev/zero | tr '\\0' x; echo; echo end", u"Ended."_s, QString(300'000, u'x') + u"\nend\n"_s},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.Program);
        Press("cmdClear");
        EXPECT_EQ(Run(run.Program), run.Status);
        EXPECT_EQ(Printed(), run.Printed);
    }
    m_Tool = std::make_unique<ScriptTool>(u"/nowhere/program"_s);
    Show();
    QTest::keyClick(&Editor(), Qt::Key_F5);
    const QString message = End();
    EXPECT_TRUE(message.startsWith(u"The script could not be started: "_s)) << message.toStdString();
    EXPECT_EQ(Printed(), message + u'\n');
}

TEST_F(ScriptWindow, StopAndTheEndOfTheToolEndEverythingThatTheScriptStarted)
{
    const QByteArray deafFlood = "trap '' TERM; echo $$ >pid; while :; do echo x; done";
    const QByteArray deafChild = "(trap '' TERM; sh -c 'echo $PPID' >pid; while :; do sleep 1; done) & wait";
    for (const QByteArray& program : {deafFlood, deafChild}) {
        SCOPED_TRACE(program.toStdString());
        Start(program);
        const int pid = Pid();
        EXPECT_TRUE(Lives(pid) && Status().startsWith(u"Running... "));
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 10'000));
    }
    Start(deafFlood);
    const int pid = Pid();
    m_Form->close(); // the script goes on in the hidden window
    QTest::qWait(100);
    EXPECT_TRUE(Lives(pid));
    m_Tool.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Lives(pid); }, 10'000));
}

TEST_F(ScriptWindow, AFloodIsHeldBackAndLeavesTheWindowItsTurns)
{
    for (const char* flood : {"yes >&2", "cat /dev/urandom"}) {
        SCOPED_TRACE(flood);
        int turns = 0;
        QTimer turn;
        turn.callOnTimeout([&] { ++turns; });
        turn.start(10);
        Start(QByteArray("echo $$ >pid; exec ") + flood);
        QElapsedTimer time;
        time.start();
        const auto isFull = [&] { return Output().document()->firstBlock().text() == Dropped; };
        EXPECT_TRUE(QTest::qWaitFor([&] { return turns > 50 && isFull(); }, 60'000));
        QFile io(u"/proc/%1/io"_s.arg(Pid()));
        ASSERT_TRUE(io.open(QIODevice::ReadOnly));
        const qint64 printed = io.readAll().split('\n').value(1).mid(7).toLongLong();
        EXPECT_LT(printed, 2'000'000 + time.elapsed() * 6'000) << "the program waits while nobody reads";
        EXPECT_LE(Output().blockCount(), OutputPane::MaxLines + 1);
        EXPECT_LE(Output().document()->characterCount(), OutputPane::MaxCharacters + 100);
        EXPECT_EQ(Stop(), u"Stopped."_s);
        EXPECT_EQ(Printed().count(Dropped), 1);
        Press("cmdClear");
        EXPECT_EQ(Printed(), QString());
    }
}

TEST_F(ScriptWindow, NamesOfTheEngineAreHandedToTheScript)
{
    const EngineRef engine = modMain::Engine;
    const ControllerRef controller = engine->get_Controller(Variant(u"PLC1"_s));
    const std::tuple<QString, ObjectRef, QString> refused[] = {
        {u"Vlx"_s, engine, u"The script object \"Vlx\" exists already."_s},
        {u"-x"_s, engine, u"\"-x\" is no name for a script object."_s},
        {u"c"_s, controller, u"Only the engine can be given to scripts."_s}};
    m_Tool->AddObject(u"Vlx"_s, engine);
    m_Tool->AddObject(u"$e_2"_s, engine);
    for (const auto& [name, object, why] : refused) {
        try {
            m_Tool->AddObject(name, object);
            ADD_FAILURE() << why.toStdString();
        } catch (const ServerError& error) {
            EXPECT_EQ(error.Description(), why);
        }
    }
    Run("echo \"$@\"");
    m_Tool->RemoveObject(u"Vlx"_s);
    EXPECT_THROW(m_Tool->RemoveObject(u"Vlx"_s), ServerError);
    Run("echo \"$@\"");
    EXPECT_EQ(Printed(), u"--attach --mark-errors --title Script --name Vlx --name $e_2 -\n"
                         "--attach --mark-errors --title Script --name $e_2 -\n"_s);
}
