#include "mainwindow/Start.h"

#include "core/ConsoleServices.h"
#include "core/modMain.h"
#include "mainwindow/frmMDI.h"

std::unique_ptr<frmMDI> StartConsole(ConsoleServices& services)
{
    modMain::Reset();
    services.Library.OnLongCall(modMain::PaintProgress);
    auto mainWindow = std::make_unique<frmMDI>(services);
    mainWindow->Form_Load();
    if (!modMain::Engine) {
        mainWindow->Form_Unload();
        return nullptr;
    }
    mainWindow->show();
    return mainWindow;
}
