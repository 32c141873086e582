#pragma once

#include "core/ChildWindow.h"
#include "ui_frmHistory.h"

class GridRefresher;

/// The console of the history: shows its settings, runs SQL statements and shows the rows that they return.
class frmHistory : public ChildWindow, private Ui::frmHistory
{
    Q_OBJECT

public:
    frmHistory();

    QSize sizeHint() const override;

protected:
    bool Load() override;
    void FormUnload() override;

private:
    class Running;

    void ConnectPresence();
    void ConnectStatements();
    void ConnectCommands();

    bool LayoutHistoryGrid();
    void RefreshHistoryGrid();
    void AddPresets();
    void InsertSQLCommand();

    void cmbSQLCommand_Click();
    void cmdOverwrite_Click();
    void cmdExecute_Click();
    void Execute();

    QAction* m_Insert;
    GridRefresher* m_Settings;
};
