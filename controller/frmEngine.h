#pragma once

#include "core/ChildWindow.h"
#include "ui_frmEngine.h"

/// The console of the engine, the only one in the application: starts, stops and snapshots the engine and executes its
/// commands.
class frmEngine : public ChildWindow, private Ui::frmEngine
{
    Q_OBJECT

public:
    frmEngine();

protected:
    bool Load() override;
    void FormUnload() override;

private:
    void cmdStart_Click();
    void cmdStop_Click();
    void cmdSnapshot_Click();
    void cmdExecute_Click();
};
