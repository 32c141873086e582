#include "commandline/CommandLine.h"
#include "commandline/QtOptions.h"
#include "core/ConsoleServices.h"
#include "core/ConsoleStyle.h"
#include "core/DesktopColours.h"
#include "mainwindow/frmMDI.h"
#include "mainwindow/LinkBand.h"
#include "mainwindow/Start.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/RemoteLink.h"

#include <QApplication>

#include <cstdio>
#include <optional>
#include <vector>

namespace {

const QString s_Description = QStringLiteral(
    "Opens the console on the user's running VelSQL server, or on the bundled one, which it then starts.\n"
    "It has no other options than Qt's own, such as -platform and -style, and keeps no settings.");

/// Answers what a shell user asks for, and refuses what is not understood, before a window system is needed.
std::optional<int> AnswerWithoutWindow(int argc, char** argv)
{
    if (argc < 2) return {};
    std::vector<char*> own(argv, argv + argc + 1); // Qt may remove some
    const QCoreApplication application(argc, own.data());
    CommandLine line(QStringLiteral("velsqltester"), s_Description);
    try {
        const QString answer = line.Read(WithoutQtOptions(QCoreApplication::arguments()));
        if (answer.isEmpty()) return {};
        return std::puts(qPrintable(answer)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    } catch (const UsageError& error) {
        return line.Refuse(error);
    }
}

/// Below velsqlremote nobody takes the server of another machine for that of his own.
void ShowLink(frmMDI& mainWindow, const VelSQLLib& library)
{
    const std::optional<QString> socket = RemoteLink::Socket();
    if (!socket) return;
    new LinkBand(mainWindow, [socket, &library] {
        const RemoteLink link = RemoteLink::Read(*socket);
        // The server may still be of a version that has been replaced there.
        return LinkBand::State{link.Place, link.Trouble.isEmpty() ? library.VersionNote() : link.Trouble, link.IsUp};
    });
}

int Run()
{
    RemoteLibrary library;
    library.OnServerBusy([](const QString& what) { std::fprintf(stderr, "velsqltester: %s\n", qPrintable(what)); });
    Platform platform;
    ConsoleServices services{library, platform};
    const auto mainWindow = StartConsole(services);
    if (!mainWindow) return EXIT_FAILURE;
    ShowLink(*mainWindow, library);
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    if (const std::optional<int> code = AnswerWithoutWindow(argc, argv)) return *code;
    QApplication application(argc, argv);
    QApplication::setStyle(new ConsoleStyle);
    QApplication::setApplicationName(QStringLiteral("VelSQLTester"));
    QApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("velsqltester"));
    DesktopColours::FollowSession(&application);
    try {
        return Run();
    } catch (...) { // before there is a window that could say it
        std::fprintf(stderr, "velsqltester: %s\n", qPrintable(CurrentErrorDescription()));
        return EXIT_FAILURE;
    }
}
