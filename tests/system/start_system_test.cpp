#include "core/LogPane.h"
#include "core/modMain.h"
#include "tests/system/SystemConsole.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST_F(SystemConsole, TheTypicalRequestFromAnEmptyMachine)
{
    StartConsoleWith(RealServer::Program()); // no server runs: the console starts its own
    ASSERT_TRUE(m_Main);
    QStringList roots;
    const TreeNodeRef engine = Node(u"VelSQLEngine");
    for (int row = 0; row < engine->ChildCount(); ++row) roots << engine->Child(row)->Text();
    EXPECT_EQ(roots, QStringList({u"PLC1"_s, u"Lab <b>&Test</b>\\Nürnberg"_s, u"Archive"_s, u"VelSQLHistory"_s}));
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
    for (const QString& program : {u"velsqltester"_s, u"velsqlserver"_s, u"velsqlscript"_s}) {
        EXPECT_EQ(run(program, {u"-v"_s}), program + u" " VELSQL_VERSION "\n0"_s);
        EXPECT_TRUE(run(program, {u"--help"_s}).contains(u"  -v, --version "_s));
        EXPECT_EQ(run(program, {u"--bogus"_s, u"-"_s}), program + u": Unknown option 'bogus'.\n2"_s);
    }
    EXPECT_EQ(run(u"velsqlserver"_s, {u"--stop-when-idle"_s, u"soon"_s}),
              u"velsqlserver: --stop-when-idle takes a number, not \"soon\".\n2"_s);
    const QStringList qtOptions = {u"-platform"_s, u"none"_s, u"--style=fusion"_s, u"-reverse"_s};
    EXPECT_EQ(run(u"velsqltester"_s, qtOptions + QStringList{u"plant.toml"_s}),
              u"velsqltester: \"plant.toml\" is no option; --help lists them.\n2"_s);
}

/// Whether a process of another user gets through to the socket; run as root only.
bool OtherUserConnects(const QString& path)
{
    const pid_t child = fork();
    if (child == 0) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, qPrintable(path), sizeof address.sun_path);
        const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected =
            setuid(65534) == 0 && connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        // Behind the folder's and the file's mode stands the server's own check: it hangs up without a word.
        char byte = 0;
        _exit(connected && read(descriptor, &byte, 1) != 0 ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status) != 0;
}

TEST_F(SystemConsole, AnotherUserCannotConnect)
{
    if (geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
    m_Server.Start();
    EXPECT_FALSE(OtherUserConnects(m_Server.SocketPath())) << "through the modes of folder and file";
    // With every mode opened the server's own look at the peer remains.
    for (QString path = m_Server.SocketPath(); path.size() > 5; path.truncate(path.lastIndexOf(u'/')))
        QFile::setPermissions(path, QFile::Permissions(0x7777));
    EXPECT_FALSE(OtherUserConnects(m_Server.SocketPath())) << "through the server's check of its peer";
}

} // namespace
