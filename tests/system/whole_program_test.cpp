#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QCheckBox>
#include <QRegularExpression>

namespace {

TEST_F(SystemConsole, ClosesInTheMiddleOfABatchInABatchAScriptAndAnEventStorm)
{
    StartBoth();
    const qsizetype windows = OpenEveryWindow(Node(u"VelSQLEngine"));
    EXPECT_GT(windows, 30);
    EXPECT_EQ(ChildWindow::Forms().size(), windows);
    for (ChildWindow* form : ChildWindow::Forms()) {
        for (QCheckBox* box : form->findChildren<QCheckBox*>(QRegularExpression(u"^chkEvent_"_s)))
            box->setChecked(true);
    }
    const QPointer<QWidget> script = &RunScript(u"while (true) print('busy');"_s);
    EXPECT_EQ(ScriptProcesses(), 1);
    ChildWindow& batch = OpenBatch(QByteArray("D100,3,120\n").repeated(1'000'000));
    modMain::Engine->Start();
    TakeLog();

    QStringList log;
    After(100, [&] { Press(batch, "cmdStart"); });
    After(300, [] { Ask(u"fire PLC1 item D100 40000"_s); });
    After(800, [&] {
        log = TakeLog();
        m_Main->close();
    });
    Press(batch, "cmdStart"); // runs until the window goes

    EXPECT_EQ(log.last(2), Called(u"Item(D100):put_Value"_s));
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_FALSE(modMain::Engine);
    EXPECT_FALSE(script);
    EXPECT_EQ(ScriptProcesses(), 0);
    EXPECT_EQ(m_Boxes, QStringList());
    m_Main.reset();
    EXPECT_TRUE(WaitUntilNothingIsHeld()) << "the server is well: " << m_Server.Answer(u"references"_s).toStdString();
}

} // namespace
