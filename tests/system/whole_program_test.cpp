#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QAction>
#include <QCheckBox>
#include <QPlainTextEdit>
#include <QTemporaryFile>
#include <QTimer>

namespace {

const QString PLC1 = u"VelSQLEngine\\PLC1"_s;

class WholeProgram : public SystemConsole
{
protected:
    /// Every window that the tree leads to; how many there are.
    qsizetype OpenEveryWindow(const TreeNodeRef& node)
    {
        Show(node->Key());
        qsizetype count = 1;
        for (int child = 0; child < node->ChildCount(); ++child) count += OpenEveryWindow(node->Child(child));
        return count;
    }
    void SubscribeEverywhere()
    {
        for (ChildWindow* form : ChildWindow::Forms()) {
            for (QCheckBox* box : form->findChildren<QCheckBox*>(QRegularExpression(u"^chkEvent_"_s)))
                box->setChecked(true);
        }
    }
    void RunEndlessScript()
    {
        m_ScriptTool = &OpenScriptTool();
        Control<QPlainTextEdit>(*m_ScriptTool, "txtScript").setPlainText(u"while (true) print('busy');"_s);
        Press(*m_ScriptTool, "cmdRun");
    }
    ChildWindow& OpenBatch(int lines)
    {
        EXPECT_TRUE(m_File.open());
        for (int i = 0; i < lines; ++i) m_File.write("D100,3," + QByteArray::number(i) + "\n");
        m_File.flush();
        m_Main->m_CurrentNode = Node(PLC1);
        Control<QAction>(*m_Main, "mnuPopupCtrl_8").trigger();
        ChildWindow& window = *ChildWindow::Forms().last();
        Control<QLineEdit>(window, "txtFilename").setText(m_File.fileName());
        return window;
    }

    QPointer<QWidget> m_ScriptTool;
    QTemporaryFile m_File;
};

TEST_F(WholeProgram, ClosesInTheMiddleOfABatchAScriptAndAnEventStorm)
{
    StartBoth();
    const qsizetype windows = OpenEveryWindow(Node(u"VelSQLEngine"));
    EXPECT_GT(windows, 30);
    EXPECT_EQ(ChildWindow::Forms().size(), windows);
    SubscribeEverywhere();
    RunEndlessScript();
    EXPECT_EQ(ScriptProcesses(), 1);
    ChildWindow& batch = OpenBatch(1'000'000);
    modMain::Engine->Start();
    TakeLog();

    QStringList log;
    QTimer::singleShot(300, m_Main.get(), [] { modMain::Engine->Execute(u"fire PLC1 item D100 40000"_s); });
    QTimer::singleShot(800, m_Main.get(), [&] {
        log = TakeLog();
        m_Main->close();
    });
    Press(batch, "cmdStart"); // runs until the window goes

    ASSERT_GT(log.size(), 10) << "the batch had begun";
    EXPECT_EQ(log.last(), u"Succeeded."_s);
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_FALSE(modMain::Engine);
    EXPECT_FALSE(m_ScriptTool);
    EXPECT_EQ(ScriptProcesses(), 0);
    EXPECT_EQ(m_Boxes, QStringList());
    m_Main.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_Server.Answer(u"references"_s) == NothingHeld; }, 5000))
        << "the server is well, and nobody holds anything of it: " << m_Server.Answer(u"references"_s).toStdString();
}

} // namespace
