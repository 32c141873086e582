#include "mainwindow/MenuEntries.h"

#include "core/modMain.h"

#include <QAction>
#include <QWidget>

void ConnectEntries(const QWidget* menu, MenuEntries entries)
{
    const auto actions = menu->actions();
    for (auto& [index, command] : entries) {
        QObject::connect(actions.at(index), &QAction::triggered, menu,
                         [command = std::move(command)] { modMain::ReportErrors(command); });
    }
}
