#include "tests/system/SystemConsole.h"

#include <QLabel>
#include <QPlainTextEdit>

namespace {

TEST_F(SystemConsole, AScriptReadsAndWritesThePlantAndIsToldWhatTheServerSaysAndIsStopped)
{
    StartBoth();
    const QWidget* window = &RunScript(u"const item = Vlx.Controller(\"PLC1\").Item(\"D100\");\n"
                                       u"print(item.Value);\n"
                                       u"item.Value = item.Value + 17;\n"
                                       u"for (const i of [1, 2]) { console.warn(\"w\", i); print(i); }\n"
                                       u"Vlx.Controller(\"none\");"_s);
    auto& output = Control<QPlainTextEdit>(*window, "txtOutput");
    const auto end = [&] {
        EXPECT_TRUE(WaitForScript(*window));
        EXPECT_EQ(ScriptProcesses(), 0);
        return Control<QLabel>(*window, "lblStatus").text();
    };
    EXPECT_EQ(end(), u"Failed (exit code 1)."_s);
    EXPECT_EQ(output.toPlainText(), u"25\nw 1\n1\nw 2\n2\nScript:5: Controller \"none\" does not exist.\n"_s);
    EXPECT_EQ(Item(u"D100"_s)->get_Value(), Variant(qint32{42}));

    RunScript(u"for (let i = 0; ; ++i) print(i);"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return output.blockCount() > 1000; }, 60'000));
    Entry("mnuWindow_1").trigger(); // closes the console's windows, not this tool
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(ScriptProcesses(), 1);
    Press(*window, "cmdStop");
    EXPECT_EQ(end(), u"Stopped."_s);
}

} // namespace
