#include "tests/support/RealServer.h"
#include "tests/velsqlscript/ScriptProcess.h"

#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>

namespace {

const QString s_Stdin = QStringLiteral("-");

class ScriptRuns : public ::testing::Test
{
protected:
    void SetUp() override { m_Server.Start(); }

    RealServer m_Server;
};

} // namespace

TEST_F(ScriptRuns, EndWithTheirCodeAndSayTheLine)
{
    struct Case
    {
        const char* Script;
        const char* Output;
        const char* Errors;
        int Code;
    };
    const Case cases[] = {
        {"", "", "", 0},
        {"print(1)\nexit(7)\nprint(2)", "1\n", "", 7},
        {"try { exit(256) } catch (error) { print(error) }\nexit()",
         "ValueError: exit takes a whole number from 0 to 255\n", "", 0},
        {"print(1)\n' don't\nvar b = ;", "", "t:3: SyntaxError: Expected token `numeric literal'\n", 1},
        {"\n\nfoo.bar", "", "t:3: ReferenceError: foo is not defined\n", 1},
        {"\xEF\xBB\xBF// \xC3\xB6\r\nthrow new Error(\"B\xC3\xB6"
         "se\\nzwei\")",
         "", "t:2: Böse\nzwei\n", 1},
        {"\nVlx.controller('PLC1')", "",
         "t:2: TypeError: Engine has no member \"controller\"; it is spelled \"Controller\"\n", 1},
        {"\nthrow null", "", "t:2: null\n", 1},
        {"throw {toString() { throw 5 }}", "", "t:1: 5\n", 1},
        {"const plc = Vlx.Controller('PLC1');\nfunction f(name) {\n    return "
         "plc.Item(name);\n}\nf('D100');\nf('D101');",
         "", "t:3: Controller \"PLC1\" has no item \"D101\".\n    in line 3, f\n    in line 6\n", 1},
        {"try { Vlx.Execute('fail a\\r\\n<b>') } catch (e) { print(e.name, JSON.stringify(e.message), e.lineNumber) }",
         "ServerError \"a\\r\\n<b>\" 1\n", "", 0},
        {"Vlx.Execute('fail')", "", "t:1: \n", 1},
        {"print('a'); console.warn('b', 1); console.log([1, 'x', null], {a: 1}, new Date(2024, 0, 31), undefined)",
         "a\n[1,\"x\",null] {\"a\":1} 2024-01-31 00:00:00 undefined\n", "b 1\n", 0},
        {"new Promise(done => done(5)).then(value => print(value)); print(4)", "4\n5\n", "", 0},
        {"const plc = Vlx.Controller('PLC1');\nplc.OnChangeState = state => {\n    throw new Error('state ' + "
         "state);\n};\n"
         "plc.Stop();\ntry { sleep(5000) } catch (error) { print(error.message) }\nplc.Start();\nwaitForEvents();",
         "state 2\n", "t:3: state 1\n    in line 3\n    in line 8\n", 1},
        {"function f() { return f() + 1 }\ntry { f() } catch (error) { print(error.name) }\n"
         "const a = []; a.push(a);\ntry { a.join() } catch (error) { print(error.name) }",
         "RangeError\nRangeError\n", "", 0},
    };
    for (const Case& c : cases) {
        const Outcome expected{QString::fromUtf8(c.Output), QString::fromUtf8(c.Errors), c.Code};
        EXPECT_EQ(RunScript(c.Script), expected) << c.Script;
    }
    const QByteArray names = "print(A.Controller('PLC1').Name, Vlx.Controller('PLC1').Name)";
    EXPECT_EQ(RunScript(names, {QStringLiteral("--name=A"), QStringLiteral("--name=Vlx")}),
              (Outcome{QStringLiteral("PLC1 PLC1\n"), {}, 0}));
    EXPECT_EQ(RunScript(QByteArray(10'000'000, ' ') + "\nprint(1)"), (Outcome{QStringLiteral("1\n"), {}, 0}));
}

TEST(ScriptFiles, AndOptionsThatCannotBeUsed)
{
    const QTemporaryDir folder;
    const auto path = [&](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
    const auto make = [&](const char* name, const QByteArray& bytes) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    };
    make("latin.js", "print(1)\n\nprint('\xFC')");
    make("large.js", QByteArray(17 * 1024 * 1024, ' '));
    ASSERT_EQ(mkfifo(qPrintable(path("pipe")), 0600), 0);
    const std::pair<QStringList, QString> cases[] = {
        {{path("latin.js")}, path("latin.js:3: is not UTF-8")},
        {{path("large.js")}, path("large.js: is larger than 16 MiB")},
        {{path("missing.js")}, path("missing.js: there is no such file")},
        {{path("pipe")}, path("pipe: is no file (a script may also come through standard input, as \"-\")")},
        {{folder.path()},
         folder.path() + QStringLiteral(": is no file (a script may also come through standard input, as \"-\")")},
        {{}, QStringLiteral("velsqlscript: One FILE is needed, or \"-\"; --help tells more.")},
        {{s_Stdin, s_Stdin}, QStringLiteral("velsqlscript: One FILE is needed, or \"-\"; --help tells more.")},
        {{QStringLiteral("--bogus"), s_Stdin}, QStringLiteral("velsqlscript: Unknown option 'bogus'.")},
        {{QStringLiteral("--name=1x"), s_Stdin},
         QStringLiteral("velsqlscript: --name takes a name that a script can use, not \"1x\".")},
        {{QStringLiteral("--memory=1"), s_Stdin},
         QStringLiteral("velsqlscript: --memory takes a number of MiB from 64 to 1048576, not \"1\".")},
    };
    for (const auto& [arguments, message] : cases) {
        EXPECT_EQ(ScriptProcess(arguments, {}).Finish(), (Outcome{{}, message + u'\n', 2}));
    }
}

TEST_F(ScriptRuns, PrintAtOnceAndEndWhenTheyAreTold)
{
    ScriptProcess endless({s_Stdin}, "print('begun'); for (;;) {}");
    EXPECT_EQ(endless.ReadLine(), QStringLiteral("begun"));
    endless.Terminate();
    EXPECT_EQ(endless.Finish(), (Outcome{{}, {}, -SIGTERM}));

    // A reader that goes away: as with any other program, no word about it.
    QProcess pipeline;
    pipeline.start(
        QStringLiteral("bash"),
        {QStringLiteral("-c"), QStringLiteral("\"$0\" - | head -1; exit ${PIPESTATUS[0]}"), ScriptProgram()});
    pipeline.write("for (;;) print('more')");
    pipeline.closeWriteChannel();
    EXPECT_TRUE(pipeline.waitForFinished());
    EXPECT_EQ(pipeline.readAll(), "more\n");
    EXPECT_EQ(pipeline.exitCode(), 128 + SIGPIPE);
}

TEST_F(ScriptRuns, BeyondTheirMemoryEndAlone)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer takes more memory than any limit";
#endif
    const QString limited = QStringLiteral("--memory=64");
    const Outcome expected{QStringLiteral("begun\n"),
                           QStringLiteral("t: out of memory: the script needs more than 64 MiB\n"), 1};
    for (const char* greedy :
         {"a.push({})", "a.push('x'.repeat(1000000) + a.length)", "a = [a, a, a, a].join()  + 'x'"})
        EXPECT_EQ(RunScript(QByteArray("print('begun'); let a = []; while (true) ") + greedy, {limited}), expected)
            << greedy;
    EXPECT_EQ(RunScript("let a = {}; for (let i = 0; i < 100000; ++i) a = new Proxy(a, {});\na.x"),
              (Outcome{{}, QStringLiteral("t: out of stack: something is nested too deeply\n"), 1}));
    EXPECT_EQ(RunScript("print(Vlx.Controller('PLC1').Name)", {limited}).Output, QStringLiteral("PLC1\n"));
}

TEST_F(ScriptRuns, OutliveTheirServer)
{
    ScriptProcess script({s_Stdin}, R"(const plc = Vlx.Controller("PLC1");
plc.OnChangeState = state => print("state", state);
function until(wanted, action) {
    for (;;) {
        try { if (action() === wanted) return; } catch (error) {
            if (error.message === wanted) return;
        }
        sleep(100);
    }
}
print("begun");
try { waitForEvents(); } catch (error) { print(error.name, error.message); }
until(25, () => plc.Item("D100").Value);
print("again");
waitForEvents();
try { for (;;) plc.Item("D100").Value; } catch (error) { print(error.name, error.message); }
)");
    EXPECT_EQ(script.ReadLine(), QStringLiteral("begun"));
    m_Server.Kill();
    EXPECT_EQ(script.ReadLine(), QStringLiteral("ServerError The server is not running."));
    m_Server.Start();
    EXPECT_EQ(script.ReadLine(), QStringLiteral("again"));
    EXPECT_EQ(RunScript("Vlx.Controller('PLC1').Stop()"), Outcome());
    EXPECT_EQ(script.ReadLine(), QStringLiteral("state 2")) << "the handler stays";
    m_Server.Suspend();
    QElapsedTimer hanging;
    hanging.start();
    EXPECT_EQ(
        script.ReadLine(),
        QStringLiteral("ServerError The server does not answer; the call was given up and may still take effect."));
    EXPECT_LT(hanging.elapsed(), 10'000);
    m_Server.Resume();
    EXPECT_EQ(script.Finish(), Outcome());
}

TEST(ScriptServer, IsStartedWhenNoneRunsUnlessOnlyARunningOneIsWanted)
{
    RealServer folders;
    EXPECT_EQ(RunScript("print(1)", {QStringLiteral("--attach")}),
              (Outcome{{}, QStringLiteral("velsqlscript: No VelSQL server is running.\n"), 3}));
    EXPECT_EQ(RunScript("print(Vlx.ControllerNames.length); try { Vlx.Execute('terminate') } catch (error) {}"),
              (Outcome{QStringLiteral("3\n"), {}, 0}));
    qputenv("XDG_RUNTIME_DIR", "/nonexistent/run");
    const Outcome none = RunScript("print(1)");
    EXPECT_EQ(none.Code, 3);
    EXPECT_EQ(none.Output, QString());
    EXPECT_TRUE(none.Errors.startsWith(QStringLiteral("velsqlscript: The VelSQL server ")))
        << none.Errors.toStdString();
}
