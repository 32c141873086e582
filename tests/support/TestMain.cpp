#include "core/ConsoleStyle.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir settings; // Qt's dialogs remember things: not in the folder of who runs the tests
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(settings.path()));
    QApplication application(argc, argv);
    QApplication::setStyle(new ConsoleStyle);
    QApplication::setApplicationName(QStringLiteral("VelSQLTester"));
    return RUN_ALL_TESTS();
}
