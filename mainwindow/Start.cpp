#include "mainwindow/Start.h"

#include "core/modMain.h"
#include "mainwindow/frmMDI.h"

std::unique_ptr<frmMDI> StartConsole(VelSQLLib& library)
{
    modMain::Reset();
    modMain::Library = &library;
    library.OnLongCall(modMain::PaintProgress);
    auto mainWindow = std::make_unique<frmMDI>();
    mainWindow->Form_Load();
    if (!modMain::Engine) {
        mainWindow->Form_Unload();
        return nullptr;
    }
    mainWindow->show();
    return mainWindow;
}
