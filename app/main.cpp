#include "mainwindow/frmMDI.h"
#include "mainwindow/Start.h"
#include "velsqllib/RemoteLibrary.h"

#include <QApplication>

#include <cstdio>
#include <string_view>

namespace {

/// What a shell user asks for without a display: answered before there is a window system to connect to.
bool AnswersWithoutWindow(int argc, char** argv)
{
    const std::string_view option = argc == 2 ? argv[1] : "";
    if (option == "--version") return std::puts("velsqltester " VELSQL_VERSION) >= 0;
    if (option != "--help") return false;
    return std::puts(
               "Usage: velsqltester [--help | --version]\n\n"
               "Opens the console on the user's running VelSQL server, or on the bundled one, which it then starts.\n"
               "It has no options and keeps no settings.") >= 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (AnswersWithoutWindow(argc, argv)) return EXIT_SUCCESS;
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("VelSQLTester"));
    QApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("velsqltester"));

    RemoteLibrary library;
    const auto mainWindow = StartConsole(library);
    return mainWindow ? QApplication::exec() : EXIT_FAILURE;
}
