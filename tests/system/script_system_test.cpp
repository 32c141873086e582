#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QLabel>
#include <QPlainTextEdit>

namespace {

class ScriptSystem : public SystemConsole
{
protected:
    void Open()
    {
        StartBoth();
        m_Window = &OpenScriptTool();
        ASSERT_TRUE(m_Window->isVisible());
    }

    QPlainTextEdit& Text(const char* name) { return Control<QPlainTextEdit>(*m_Window, name); }
    QString Status() { return Control<QLabel>(*m_Window, "lblStatus").text(); }
    void Start(const QString& script)
    {
        Text("txtScript").setPlainText(script);
        Text("txtOutput").clear();
        Press(*m_Window, "cmdRun");
    }
    /// What the script has printed when it has ended, and how it ended.
    QString WaitForEnd()
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return Control<QPushButton>(*m_Window, "cmdRun").isEnabled(); }, 20'000));
        return Text("txtOutput").toPlainText() + Status();
    }

    QPointer<QWidget> m_Window;
};

TEST_F(ScriptSystem, AScriptReadsAndWritesThePlantAndIsToldWhatTheServerSays)
{
    Open();
    const QString welcome = Text("txtScript").toPlainText();
    EXPECT_EQ(welcome, u"\n' [Syntax] Vlx.Controller(\"<Controller Name>\").Item(\"<Item Name>\")"_s);
    Start(u"const item = Vlx.Controller(\"PLC1\").Item(\"D100\");\n"
          u"print(item.Value);\n"
          u"item.Value = item.Value + 17;\n"
          u"Vlx.Controller(\"none\");"_s +
          welcome);
    EXPECT_EQ(WaitForEnd(), u"25\nScript:4: Controller \"none\" does not exist.\nFailed (exit code 1)."_s);
    const ItemRef item = modMain::Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
    EXPECT_TRUE(item->get_Value() == Variant(qint32{42}));
}

TEST_F(ScriptSystem, AnEndlessLoopIsStoppedAndGoesWithTheMainWindow)
{
    Open();
    Start(u"for (let i = 0; ; ++i) print(i);"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Text("txtOutput").blockCount() > 1000; }, 20'000));
    Control<QAction>(*m_Main, "mnuWindow_1").trigger(); // closes the console's windows, not this tool
    EXPECT_TRUE(m_Window->isVisible());
    EXPECT_EQ(ScriptProcesses(), 1);
    Press(*m_Window, "cmdStop");
    EXPECT_TRUE(WaitForEnd().endsWith(u"Stopped."_s));
    EXPECT_EQ(ScriptProcesses(), 0);

    Start(u"while (true);"_s);
    EXPECT_EQ(ScriptProcesses(), 1);
    m_Main->close();
    EXPECT_FALSE(m_Window);
    EXPECT_EQ(ScriptProcesses(), 0);
}

} // namespace
