#include "tests/velsqlscript/ScriptProcess.h"

#include <sys/stat.h>

namespace {

class ScriptRuns : public ::testing::Test
{
protected:
    void SetUp() override { m_Server.Start(); }

    RealServer m_Server;
};

} // namespace

TEST_F(ScriptRuns, EndWithTheirCodeAndSayTheLine)
{
    const std::pair<QByteArray, QString> cases[] = {
        {"print(1)\nexit(7)\nprint(2)", u"1\n(7)"_s},
        {"print(1)\n' don't\nvar b = ;", u"!t:3: SyntaxError: Expected token `numeric literal'\n(1)"_s},
        {"\xEF\xBB\xBF// \xC3\xB6\r\nthrow new Error('B\xC3\xB6s\\nzwei')", u"!t:2: Bös\nzwei\n(1)"_s},
        {"throw {toString() { throw 5 }}", u"!t:1: 5\n(1)"_s},
        {"const f = name =>\nVlx.Controller('PLC1').Item(name);\nf('D100');\nf('D101');",
         u"!t:2: Controller \"PLC1\" has no item \"D101\".\n    in line 2, f\n    in line 4\n(1)"_s},
        {"try { Vlx.Execute('fail a\\r\\n<b>') } catch (e) { print(e.name, JSON.stringify(e.message), e.lineNumber) }",
         u"ServerError \"a\\r\\n<b>\" 1\n"_s},
        {"for (let i = 0; i < 600; ++i) if (Vlx.History.Execute('select ' + i).Cell(0, 0) != i) print(i);\n"
         "sleep(200); print(Number(/results (\\d+)/.exec(Vlx.Execute('references'))[1]) < 3)",
         u"true\n"_s},
        {"const plc = Vlx.Controller('PLC1');\nplc.OnChangeState = s => {\n    throw new Error('state ' + s);\n};\n"
         "plc.Stop();\ntry { sleep(5000) } catch (error) { print(error.message) }\nplc.Start();\nwaitForEvents();",
         u"state 2\n!t:3: state 1\n    in line 3\n    in line 8\n(1)"_s},
        {"try { (function f() { return f() + 1 })() } catch (error) { print(error.name) }\n"
         "const a = []; a.push(a); try { a.join() } catch (error) { print(error.name) }",
         u"RangeError\nRangeError\n"_s},
        {QByteArray(10'000'000, ' ') + "\nprint(1)", u"1\n"_s},
    };
    for (const auto& [script, left] : cases) EXPECT_EQ(RunScript(script), left) << script.right(500).constData();
    EXPECT_EQ(RunScript("print(A.Controller('PLC1').Name, B.History.Enabled)", {u"--name=A"_s, u"--name=B"_s}),
              u"PLC1 true\n");
}

TEST(ScriptFiles, AndOptionsThatCannotBeUsed)
{
    const QTemporaryDir folder;
    const auto path = [&](const QString& name) { return folder.filePath(name); };
    for (const auto& [name, bytes] : {std::pair(u"latin.js"_s, QByteArray("print(1)\n\nprint('\xFC')")),
                                      {u"large.js"_s, QByteArray(17 * 1024 * 1024, ' ')}}) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size());
    }
    ASSERT_EQ(mkfifo(qPrintable(path(u"pipe"_s)), 0600), 0);
    const std::pair<QStringList, QString> cases[] = {
        {{path(u"latin.js"_s)}, path(u"latin.js:3: is not UTF-8"_s)},
        {{path(u"large.js"_s)}, path(u"large.js: is larger than 16 MiB"_s)},
        {{path(u"missing.js"_s)}, path(u"missing.js: there is no such file"_s)},
        {{path(u"pipe"_s)},
         path(u"pipe"_s) + u": is not a file (a script may also come through standard input, as \"-\")"_s},
        {{}, u"velsqlscript: One FILE is needed, or \"-\"; --help tells more."_s},
        {{u"--name=1x"_s, u"-"_s}, u"velsqlscript: --name takes a name that a script can use, not \"1x\"."_s},
        {{u"--memory=1"_s, u"-"_s}, u"velsqlscript: --memory takes a number of MiB from 64 to 1048576, not \"1\"."_s},
    };
    for (const auto& [arguments, message] : cases)
        EXPECT_EQ(ScriptProcess({}, arguments).Finish(), u"!%1\n(2)"_s.arg(message));
}

TEST_F(ScriptRuns, PrintAtOnceAndEndWhenTheyAreTold)
{
    ScriptProcess endless("print('begun'); for (;;) {}");
    EXPECT_EQ(endless.ReadLine(), u"begun");
    endless.terminate();
    EXPECT_EQ(endless.Finish(), u"(signal 15)");
}

TEST_F(ScriptRuns, BeyondTheirMemoryEndAlone)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer takes more memory than any limit";
#endif
    const QStringList limited(u"--memory=64"_s);
    for (const char* greedy : {"a.push({})", "a.push('x'.repeat(1e6) + a.length)", "a = [a, a, a, a].join() + 'x'"})
        EXPECT_EQ(RunScript(QByteArray("print('begun'); let a = []; while (true) ") + greedy, limited),
                  u"begun\n!t: out of memory: the script needs more than 64 MiB\n(1)")
            << greedy;
    EXPECT_EQ(RunScript("let a = {}; for (let i = 0; i < 100000; ++i) a = new Proxy(a, {});\na.x"),
              u"!t: out of stack: something is nested too deeply\n(1)");
}

TEST_F(ScriptRuns, OutliveTheirServer)
{
    ScriptProcess script(R"(const plc = Vlx.Controller("PLC1");
plc.OnChangeState = state => print("state", state);
print("begun");
try { waitForEvents(); } catch (error) { print(error.name, error.message); }
for (let there = false; !there; sleep(100)) try { there = plc.Item("D100").Value === 25; } catch (error) {}
print("again");
waitForEvents();
)");
    EXPECT_EQ(script.ReadLine(), u"begun");
    m_Server.Kill();
    EXPECT_EQ(script.ReadLine(), u"ServerError The server is not running.");
    m_Server.Start();
    EXPECT_EQ(script.ReadLine(), u"again");
    EXPECT_EQ(RunScript("Vlx.Controller('PLC1').Stop()"), u"");
    EXPECT_EQ(script.Finish(), u"state 2\n") << "the handler stays";
}

TEST(ScriptServer, IsStartedWhenNoneRunsUnlessOnlyARunningOneIsWanted)
{
    RealServer folders;
    EXPECT_EQ(RunScript("print(1)", {u"--attach"_s}), u"!velsqlscript: No VelSQL server is running.\n(3)");
    EXPECT_EQ(RunScript("print(Vlx.ControllerNames.length); try { Vlx.Execute('terminate') } catch (error) {}"),
              u"3\n");
}
