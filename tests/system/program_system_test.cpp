#include "core/LogPane.h"
#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <QCheckBox>
#include <QRegularExpression>

#include <unistd.h>

namespace {

TEST_F(SystemConsole, TheTypicalRequestFromAnEmptyMachine)
{
    StartConsoleWith(RealServer::Program()); // no server runs: the console starts its own
    ASSERT_TRUE(m_Main);
    QStringList roots;
    const TreeNodeRef engine = Node(u"VelSQLEngine");
    for (int row = 0; row < engine->ChildCount(); ++row) roots << engine->Child(row)->Text();
    EXPECT_EQ(roots, QStringList({u"PLC1"_s, u"R&D Nürnberg"_s, u"Archive"_s, u"VelSQLHistory"_s}));
    EXPECT_EQ(Panels(), QStringList({u"Ready."_s, u"Object"_s, u"Count"_s}));

    ChildWindow& window = Show(D100);
    EXPECT_EQ(window.windowTitle(), u"Controller(PLC1).Item(D100)");
    EXPECT_EQ(Panels(), QStringList({u"Ready."_s, u"D100"_s, u"0"_s}));
    EXPECT_EQ(&Show(D100), &window) << "one window per node";
    EXPECT_EQ(Cell(window, u"Value"_s), u"25 (I4)");

    Press(window, "cmdGet");
    EXPECT_EQ(Control<ListBox>(window, "cmbType").currentText(), u"I4");
    EXPECT_EQ(Control<QLineEdit>(window, "txtValue").text(), u"25");
    Type(window, "txtValue", u"77"_s);
    Press(window, "cmdPut");
    EXPECT_EQ(m_Main->Log().Text(), u"0 : Calling Item:get_Value...\r\n1 : Succeeded.\r\n"
                                    u"2 : Calling Item:put_Value...\r\n3 : Succeeded.\r\n"_s);
    EXPECT_TRUE(WaitForCell(window, u"Value"_s, u"77 (I4)"_s)) << "the grid refreshes by itself";

    RemoteLibrary other(m_Server.SocketPath(), QString()); // another console on the same server
    other.CreateEngine()->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s))->put_Value(qint32{4711});
    EXPECT_TRUE(WaitForCell(window, u"Value"_s, u"4711 (I4)"_s));

    m_Main->close();
    EXPECT_FALSE(modMain::Engine);
    EXPECT_TRUE(ChildWindow::Forms().isEmpty());
    EXPECT_EQ(m_Boxes, QStringList());
    m_Server.Answer(u"terminate"_s); // it would outlive its folder
    EXPECT_TRUE(QTest::qWaitFor([this] { return !QFile::exists(m_Server.SocketPath()); }, 20'000));
}

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

TEST(Programs, AnswerAndRefuseAlikeWithoutADisplay)
{
    auto noDisplay = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"QT_QPA_PLATFORM"_s, u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s}) noDisplay.remove(name);
    const auto run = [&](const QString& program, const QStringList& arguments) {
        QProcess process;
        process.setProcessEnvironment(noDisplay);
        process.start(QCoreApplication::applicationDirPath() + u'/' + program, arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError()) +
               QString::number(process.exitCode());
    };
    for (const QString& program : {u"velsqltester"_s, u"velsqlserver"_s, u"velsqlscript"_s, u"velsqltrend"_s}) {
        EXPECT_EQ(run(program, {u"-v"_s}), program + u" " VELSQL_VERSION "\n0"_s);
        EXPECT_TRUE(run(program, {u"--help"_s}).contains(u"  -v, --version "_s));
        EXPECT_EQ(run(program, {u"--bogus"_s, u"-"_s}), program + u": Unknown option 'bogus'.\n2"_s);
    }
    EXPECT_EQ(run(u"velsqlserver"_s, {u"--stop-when-idle"_s, u"soon"_s}),
              u"velsqlserver: --stop-when-idle takes a number, not \"soon\".\n2"_s);
    EXPECT_EQ(run(u"velsqltrend"_s, {u"Level"_s}), u"velsqltrend: \"Level\" is not an item such as PLC1\\Level.\n2"_s);
    EXPECT_EQ(run(u"velsqltrend"_s, {u"--from"_s, u"12:00"_s, u"--to"_s, u"11:00"_s}),
              u"velsqltrend: --to must lie behind --from.\n2"_s);
}

/// How a process of another user fares at the socket; run as root only.
QByteArray OtherUserAt(const QString& path)
{
    const QString script = uR"(
import os, select, socket, sys
server = socket.socket(socket.AF_UNIX)
os.setuid(65534)
try:
    server.connect(sys.argv[1])
    print("hung up" if select.select([server], [], [], 5)[0] else "connected")
except PermissionError:
    print("refused")
)"_s;
    QProcess python;
    python.start(u"python3"_s, {u"-c"_s, script, path});
    python.waitForFinished();
    return python.readAllStandardOutput().trimmed();
}

TEST_F(SystemConsole, AnotherUserCannotConnect)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
    m_Server.Start();
    EXPECT_EQ(OtherUserAt(m_Server.SocketPath()), "refused") << "by the modes of folder and file";
    // With every mode opened the server's own look at the peer remains.
    for (QString path = m_Server.SocketPath(); path.size() > 5; path.truncate(path.lastIndexOf(u'/')))
        QFile::setPermissions(path, QFile::Permissions(0x7777));
    EXPECT_EQ(OtherUserAt(m_Server.SocketPath()), "hung up") << "by the server's check of its peer";
}

} // namespace
