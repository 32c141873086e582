#include "mainwindow/frmMDI.h"
#include "mainwindow/Start.h"
#include "velsqllib/RemoteLibrary.h"

#include <QApplication>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("VelSQLTester"));
    QApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("velsqltester"));

    RemoteLibrary library;
    const auto mainWindow = StartConsole(library);
    return mainWindow ? QApplication::exec() : EXIT_FAILURE;
}
