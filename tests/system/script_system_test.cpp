#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>

#include <unistd.h>

namespace {

/// The script processes that this program has started and that are still there.
int ScriptProcesses()
{
    int count = 0;
    for (const QString& process : QDir(u"/proc"_s).entryList({u"[0-9]*"_s})) {
        QFile file(u"/proc/%1/stat"_s.arg(process));
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QByteArray stat = file.readAll();
        const QList<QByteArray> rest = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        if (stat.contains("(velsqlscript)") && rest.value(0) != "Z" && rest.value(1).toInt() == getpid()) ++count;
    }
    return count;
}

class ScriptSystem : public SystemConsole
{
protected:
    /// Opens the script tool by its menu entry.
    void Open()
    {
        StartBoth();
        Control<QAction>(*m_Main, "mnuTool_0").trigger();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == u"frmScriptTool") m_Window = window;
        }
        ASSERT_TRUE(m_Window && m_Window->isVisible());
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
