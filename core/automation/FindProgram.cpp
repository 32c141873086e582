#include "core/automation/FindProgram.h"

#include <QCoreApplication>
#include <QStandardPaths>

QString FindProgram(const QString& name)
{
    const QString beside = QStandardPaths::findExecutable(name, {QCoreApplication::applicationDirPath()});
    return beside.isEmpty() ? QStandardPaths::findExecutable(name) : beside;
}
