#include "tests/system/SystemConsole.h"

#include <QLabel>
#include <QPlainTextEdit>

namespace {

class ScriptSystem : public SystemConsole
{
protected:
    void SetUp() override { StartBoth(); }
    QPlainTextEdit& Output() { return Control<QPlainTextEdit>(*m_Window, "txtOutput"); }
    /// What the script has printed when it has ended, and how it ended.
    QString WaitForEnd()
    {
        EXPECT_TRUE(WaitForScript(*m_Window));
        EXPECT_EQ(ScriptProcesses(), 0);
        return Output().toPlainText() + Control<QLabel>(*m_Window, "lblStatus").text();
    }

    QPointer<QWidget> m_Window;
};

TEST_F(ScriptSystem, AScriptReadsAndWritesThePlantAndIsToldWhatTheServerSays)
{
    m_Window = &RunScript(u"const item = Vlx.Controller(\"PLC1\").Item(\"D100\");\n"
                          u"print(item.Value);\n"
                          u"item.Value = item.Value + 17;\n"
                          u"for (const i of [1, 2]) { console.warn(\"w\", i); print(i); }\n"
                          u"Vlx.Controller(\"none\");"_s);
    EXPECT_EQ(WaitForEnd(),
              u"25\nw 1\n1\nw 2\n2\nScript:5: Controller \"none\" does not exist.\nFailed (exit code 1)."_s);
    EXPECT_EQ(Item(u"D100"_s)->get_Value(), Variant(qint32{42}));
}

TEST_F(ScriptSystem, AnEndlessLoopIsStoppedAndGoesWithTheMainWindow)
{
    m_Window = &RunScript(u"for (let i = 0; ; ++i) print(i);"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Output().blockCount() > 1000; }, 60'000));
    Entry("mnuWindow_1").trigger(); // closes the console's windows, not this tool
    EXPECT_TRUE(m_Window->isVisible());
    EXPECT_EQ(ScriptProcesses(), 1);
    Press(*m_Window, "cmdStop");
    EXPECT_TRUE(WaitForEnd().endsWith(u"Stopped."_s));

    RunScript(u"while (true);"_s);
    EXPECT_EQ(ScriptProcesses(), 1);
    m_Main->close();
    EXPECT_FALSE(m_Window);
    EXPECT_EQ(ScriptProcesses(), 0);
}

} // namespace
